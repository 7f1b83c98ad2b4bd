// One converter and one document, shared by threads that each fill a message of their own.
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "misc/miscutils/tests/convert.h"

namespace qx::test {
namespace {

TEST(Concurrency, GivenOneConverterAndOneDocument_WhenFourThreadsConvertAtOnce_ThenEachMessageIsTheSame)
{
    constexpr int threads = 4;
    const JSONProto converter;
    const JSONNode document = libjson::parse(
        R"({"i32":1,"real":2.5,"side":"Buy","text":"a","inner":{"number":3,"inner":{"text":"b"}},)"
        R"("uuid":"00112233-4455-6677-8899-aabbccddeeff","i64s":[4,5],"inners":[{"number":6},{"numbers":[7,8]}]})");
    const std::string expected = [&] {
        AllTypes message;
        converter.JSONToProtobuf(message, document, strict, false);
        return message.SerializeAsString();
    }();

    std::vector<int> equal(threads);
    std::latch begun(threads);
    std::vector<std::jthread> workers;
    for (int& count : equal) {
        workers.emplace_back([&] {
            begun.arrive_and_wait();
            for (int i = 0; i < 100; ++i) {
                AllTypes message;
                const bool done = converter.JSONToProtobuf(message, document, strict, false);
                count += done && message.SerializeAsString() == expected ? 1 : 0;
            }
        });
    }
    workers.clear();
    EXPECT_THAT(equal, testing::Each(100));
}

} // namespace
} // namespace qx::test
