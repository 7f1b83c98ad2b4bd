/// A forked child must be told that the transport is not there, at once and by every call that would need it.
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include "support/context_fixture.h"

namespace {

/// The child's exit code, or a negative number when it did not end by itself in time.
int in_child(const std::function<int()>& body)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(static_cast<unsigned>(test::patience.count()));
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool refused(int result)
{
    return result == LBM_FAILURE && lbm_errnum() == LBM_EOP &&
           std::string{lbm_errmsg()}.find("forked") != std::string::npos;
}

class Fork : public testing::Test {
protected:
    test::ContextHandle ctx = test::make_context();
    test::Recorder recorder;
    test::ReceiverHandle receiver = test::make_receiver(ctx, "FORK.A", recorder);
    test::SourceHandle source = test::make_source(ctx, "FORK.A");
};

TEST_F(Fork, GivenAChild_WhenItSends_ThenRefused)
{
    EXPECT_EQ(in_child([&] { return refused(lbm_src_send(source.get(), "x", 1, 0)) ? 0 : 1; }), 0);
}

TEST_F(Fork, GivenAChild_WhenItDeletes_ThenRefusedWithoutWaiting)
{
    EXPECT_EQ(in_child([&] {
                  return refused(lbm_src_delete(source.get())) && refused(lbm_rcv_delete(receiver.get())) &&
                                 refused(lbm_context_delete(ctx.get()))
                             ? 0
                             : 1;
              }),
              0);
}

TEST_F(Fork, GivenAChild_WhenItMakesAContextOfItsOwn_ThenRefused)
{
    EXPECT_EQ(in_child([] {
                  lbm_context_t* own = nullptr;
                  return refused(lbm_context_create(&own, nullptr, nullptr, nullptr)) && own == nullptr ? 0 : 1;
              }),
              0);
}

TEST_F(Fork, GivenAChildThatCameAndWent_WhenTheParentGoesOn_ThenItWorks)
{
    test::connect(source, recorder, "FORK.A");
    ASSERT_EQ(in_child([&] { return refused(lbm_src_send(source.get(), "child", 5, 0)) ? 0 : 1; }), 0);
    test::send(source, "parent");
    EXPECT_TRUE(recorder.wait([&] { return recorder.payloads().back() == "parent"; }));
    EXPECT_EQ(recorder.count(LBM_MSG_UNRECOVERABLE_LOSS), 0U);
}

TEST(ForkBefore, GivenNoContextInTheParent_WhenTheChildMakesOne_ThenItWorks)
{
    EXPECT_EQ(in_child([] {
                  test::ContextHandle own = test::make_context();
                  return lbm_context_delete(own.release());
              }),
              LBM_OK);
}

} // namespace
