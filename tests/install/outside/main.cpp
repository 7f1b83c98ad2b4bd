/// Uses each installed library once: reads a record, opens a listener on the transport, logs. Ends with 0 when all of
/// that worked.
#include <iostream>

#include <lbm/lbm.h>
#include <lbm/lbm_cpp.h>
#include <libjson.h>
#include <logger/logger.h>
#include <miscutils/JSONtopb_non_static.h>
#include <qx_notify_listener.h>

#include "instrument_download_record.pb.h"
#include "pds_enums.pb.h"
#include "product_download_record.pb.h"

namespace {

bool recordIsRead()
{
    qx::messaging::pds::ProductDownloadRecord record;
    const auto json = libjson::parse(R"({"productId": 42, "symbol": "GE"})");
    const bool converted = qx::JSONProto().JSONToProtobuf(record, json, true, true);
    return converted && record.product_id() == 42 && record.symbol() == "GE";
}

bool listenerOpens()
{
    ps_ns::QXNotifyObserver observer;
    ps_ns::QXNotifyListener listener(&observer);
    listener.SubscribeForMarket(42);
    return listener.GetNotifyEventTypeFromString("no such type") == ps_ns::UnsupportedEventType;
}

} // namespace

int main()
{
    if (!recordIsRead() || !listenerOpens()) {
        std::cerr << "the installed libraries do not work\n";
        return 1;
    }
    QX_LOG(QXLOG_WARNING) << "outside: all libraries work";
    return 0;
}
