/// What a listener will make of a payload, told beforehand.
#pragma once

#include <string>

#include <miscutils/JSONtopb_non_static.h>

#include "qxnotify/publish_fate.h"

namespace qx::tool {

struct Forecast {
    Fate fate;
    std::string reason; ///< of warnings and of fatal payloads, else empty
};

/// Goes the listener's way with the listener's own readers (the envelope's JSON reader, the record's, the converter),
/// so that the two cannot differ in what they take for JSON. Use one Forecaster from one thread at a time.
class Forecaster {
public:
    Forecast operator()(const std::string& payload);

private:
    template <class Record>
    Forecast convert(const std::string& data, Fate success);

    JSONProto m_converter;
};

} // namespace qx::tool
