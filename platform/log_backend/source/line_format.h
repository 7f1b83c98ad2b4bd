/// One statement as one line, line feed included. Pure functions of the record.
///
/// Text, fields separated by one space; "-" stands for a missing source or file:
///
///     2026-03-01T09:30:00.000123Z 4711 WARNING outer/inner lbm/source/context.cpp:42 the text
///
/// JSON, one object a line, members always all present and in this order:
///
///     time      as above                      file    string, "" when unknown
///     thread    number                        line    number
///     level     name, e.g. "WARNING"          id      number, the message id
///     severity  the level's number            decode  none | kv | json | mixed | pb: how `text` is to be read
///     source    as above, "" when none        text    string
///
/// Time is UTC with a final Z, or local time with its offset as +01:00. A source's parents precede it, outermost first.
#pragma once

#include <string>

#include <logger/logger.h>

#include "config.h"

namespace qx::logging::backend {

std::string formatLine(const LogRecord& record, LineFormat format, TimeZone zone);

} // namespace qx::logging::backend
