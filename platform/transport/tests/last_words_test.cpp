#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

#include "support/context_fixture.h"

using namespace testing;

namespace {

/// Lets the callback of a receiver throw on its first data.
void throw_from_callback(const std::function<void()>& thrower)
{
    const auto ctx = test::make_context();
    test::Recorder recorder;
    recorder.then = [&](lbm_msg_t& msg) {
        if (msg.type == LBM_MSG_DATA) {
            thrower();
        }
    };
    const auto receiver = test::make_receiver(ctx, "LAST.WORDS", recorder);
    const auto source = test::make_source(ctx, "LAST.WORDS");
    test::connect(source, recorder, "LAST.WORDS");
    recorder.wait_for(LBM_MSG_EOS); // never: the process ends before
}

class LastWordsDeathTest : public Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(LastWordsDeathTest, GivenAThrowingCallback_WhenCalled_ThenTheProcessEndsAfterOneLine)
{
    EXPECT_EXIT(throw_from_callback([] { throw std::runtime_error("no\nnode \"et\""); }), KilledBySignal(SIGABRT),
                "lbm: exception left a callback: topic=\"LAST.WORDS\" sequence_number=[0-9]+ "
                "what=\"no\\\\x0anode \\\\x22et\\\\x22\"\n");
}

TEST_F(LastWordsDeathTest, GivenSomethingElseThrown_WhenCalled_ThenTheLineSaysSo)
{
    EXPECT_EXIT(throw_from_callback([] { throw 1; }), KilledBySignal(SIGABRT), "what=\"not a std::exception\"");
}

TEST_F(LastWordsDeathTest, GivenATerminateHandler_WhenACallbackThrows_ThenItSeesTheException)
{
    const auto with_handler = [] {
        std::set_terminate([] {
            try {
                std::rethrow_exception(std::current_exception());
            } catch (const std::exception& e) {
                std::cerr << "handler saw " << e.what() << std::endl;
            }
            std::_Exit(7);
        });
        throw_from_callback([] { throw std::runtime_error("this"); });
    };
    EXPECT_EXIT(with_handler(), ExitedWithCode(7), "handler saw this");
}

} // namespace
