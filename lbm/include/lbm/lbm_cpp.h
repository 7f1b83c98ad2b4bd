/// The whole messaging wrapper: owning classes over the transport's C client interface, one header per class family.
#pragma once

#include <lbm/attributes.h>
#include <lbm/context.h>
#include <lbm/error.h>
#include <lbm/event_queue.h>
#include <lbm/handle.h>
#include <lbm/message.h>
#include <lbm/receiver.h>
#include <lbm/response.h>
#include <lbm/triage_handler.h>
#include <lbm/triage_source.h>
