/// What <lbm/lbm.h> asks of the arguments of requests and answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/request_fixture.h"

using namespace testing;

namespace {

using ContractRequestTest = test::Asking;

int send(lbm_request_t** req, lbm_src_t* src, lbm_request_cb_proc proc, const char* data, int flags)
{
    return lbm_send_request(req, src, data, 1, proc, nullptr, nullptr, flags);
}

TEST_F(ContractRequestTest, GivenBadArguments_WhenARequestIsSent_ThenEachCallFailsWithEinval)
{
    lbm_request_t* req = nullptr;
    EXPECT_EQ(send(nullptr, source.get(), &test::Recorder::on_answer, "x", 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(send(&req, nullptr, &test::Recorder::on_answer, "x", 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(send(&req, source.get(), nullptr, "x", 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(send(&req, source.get(), &test::Recorder::on_answer, nullptr, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(send(&req, source.get(), &test::Recorder::on_answer, "x", 1), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(req, nullptr);
    EXPECT_EQ(lbm_request_delete(nullptr), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
}

TEST_F(ContractRequestTest, GivenBadArguments_WhenAnAnswerIsSent_ThenEachCallFailsWithEinvalAndNothingIsSent)
{
    ask();
    lbm_response_t* const response = kept.response(0);
    EXPECT_EQ(lbm_send_response(nullptr, "x", 1, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_send_response(response, nullptr, 1, 0), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(test::answer(response, "x", LBM_SRC_BLOCK | LBM_SRC_NONBLOCK), LBM_FAILURE);
    EXPECT_EQ(lbm_errnum(), LBM_EINVAL);
    EXPECT_EQ(lbm_send_response(response, nullptr, 0, 0), LBM_OK);
    ASSERT_TRUE(answered());
    EXPECT_EQ(answers.seen().front().sequence, 0U);
}

TEST_F(ContractRequestTest, GivenAnEmptyRequest_WhenSent_ThenItArrivesAndCanBeAnswered)
{
    const std::size_t at = ask("");
    EXPECT_EQ(test::answer(kept.response(at), "x"), LBM_OK);
    EXPECT_TRUE(answered());
}

} // namespace
