/// A listener on the transport double, with a mocked observer and the log captured.
#pragma once

#include <optional>
#include <string>

#include <gmock/gmock.h>

#include <qx_notify_listener.h>

#include "tests/doubles/captured_log.h"
#include "tests/doubles/lbm_double/lbm_double.h"

namespace ps_ns::test {

class MockObserver : public QXNotifyObserver {
public:
    MOCK_METHOD(void, OnInstrumentDeleteRecord, (std::uint64_t, PdsNotifyEventType), (override));
    MOCK_METHOD(void, OnInstrumentDownloadRecord, (PdsNotifyEventType, qx::messaging::pds::InstrumentDownloadRecord&),
                (override));
    MOCK_METHOD(void, OnProductDeleteRecord, (std::uint64_t, PdsNotifyEventType), (override));
    MOCK_METHOD(void, OnProductDownloadRecord, (PdsNotifyEventType, qx::messaging::pds::ProductDownloadRecord&),
                (override));
};

/// The text as a JSON string.
inline std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

/// An envelope; without `data` the member is left out.
inline std::string Envelope(const std::string& et, const std::string& dt, const std::string& id,
                            const std::optional<std::string>& data = std::nullopt)
{
    return "{\"et\":" + Quoted(et) + ",\"dt\":" + Quoted(dt) + ",\"id\":" + Quoted(id) +
           (data ? ",\"data\":" + Quoted(*data) : "") + "}";
}

inline std::string PatternOf(const std::string& market)
{
    return "qxnotify.public.pds.native." + market + "\\..*";
}

class ListenerTest : public ::testing::Test {
protected:
    explicit ListenerTest(std::int32_t minLevel = qx::logging::QXLOG_DEBUG)
        : log(minLevel)
    {
        transport.clear_calls();
        log.clear();
    }

    void HandleData(const std::string& payload) { Handle({.payload = payload}); }
    void Handle(const qx::test::MessageSpec& spec) { listener.DoHandleNotification(transport.make_message(spec)); }

    qx::test::LbmDouble transport;
    qx::test::CapturedLog log;
    ::testing::StrictMock<MockObserver> observer;
    QXNotifyListener listener{&observer};
};

inline auto Line(qx::logging::LogLevel level, const std::string& text)
{
    using qx::test::CapturedStatement;
    using ::testing::Field;
    return ::testing::AllOf(
        Field("level", &CapturedStatement::level, level), Field("id", &CapturedStatement::id, 0U),
        Field("decodeType", &CapturedStatement::decodeType, qx::logging::QXLOG_DECODE_AS_KV),
        Field("source", &CapturedStatement::source, ""),
        Field("file", &CapturedStatement::file, "price_server/ps_common/connector/source/qx_notify_listener.cpp"),
        Field("text", &CapturedStatement::text, text), Field("handlerName", &CapturedStatement::handlerName, ""));
}

} // namespace ps_ns::test
