#include "qxnotify/publish_fate.h"

namespace qx::tool {

std::string_view fate_name(Fate fate)
{
    switch (fate) {
    case Fate::product:
        return "product";
    case Fate::instrument:
        return "instrument";
    case Fate::product_delete:
        return "product_delete";
    case Fate::instrument_delete:
        return "instrument_delete";
    case Fate::unsupported:
        return "unsupported";
    case Fate::bad_inner:
        return "bad_inner";
    case Fate::no_reflection:
        return "no_reflection";
    case Fate::fatal:
        return "fatal";
    }
    return "";
}

} // namespace qx::tool
