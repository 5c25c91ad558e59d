// Tests of the platform message queues: the two pools (clearing, reference numbers, the search
// that starts at the slot taken last, exhaustion), freeing, and both directions of sending with
// their log lines, missing handlers, aborts, the always-free rule and the tick stamp. Handlers
// here are test functions that record what they were given.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <regex>
#include <string>
#include <vector>

#include "capture.h"
#include "death.h"
#include "lum.h"
#include "plat_msg.h"

namespace {

using Lines = std::vector<std::string>;

// What a handler was given: a copy of the message as it arrived
struct CALL {
    PLAT_MSG msg;
    int active;  // the message's slot was still in use during the call
};
std::vector<CALL> replier_calls;
std::vector<CALL> poster_calls;
std::vector<CALL> other_poster_calls;
int replier_result = 0;       // what the recording replier answers
int poster_result = 0;        // what the recording posters answer
PLAT_MSG *held = nullptr;     // the answer the deferring replier keeps for later

int recording_replier(PLAT_MSG *msg)
{
    replier_calls.push_back({*msg, msg->active});
    return replier_result;
}

int recording_poster(PLAT_MSG *msg)
{
    poster_calls.push_back({*msg, msg->active});
    return poster_result;
}

int other_poster(PLAT_MSG *msg)
{
    other_poster_calls.push_back({*msg, msg->active});
    return poster_result;
}

// A replier that cannot answer at once: it copies the request into a message of its own pool,
// keeps that for later and asks the poster to hold on
int deferring_replier(PLAT_MSG *msg)
{
    replier_calls.push_back({*msg, msg->active});
    held = plat_msg_alloc_replier();
    held->typeid_ = msg->typeid_;
    held->user = msg->user;
    held->poster = msg->poster;
    return PLAT_MSG_CODE_HOLD_ON;
}

// Run quietly: the log of set-up steps is not what a test looks at
void quiet(const std::function<void()> &body)
{
    capture_stdout(body);
}

// The log messages of a piece of code
Lines log_of(const std::function<void()> &body)
{
    return log_messages(capture_stdout(body));
}

bool is_trace_of(const std::string &line, const std::string &function)
{
    return std::regex_match(line, std::regex("line [0-9]+: " + function));
}

std::string free_line(const PLAT_MSG &msg)
{
    return "plat_msg_free (refid " + std::to_string(msg.refid) + " timestamp " + std::to_string(msg.timestamp) + ")";
}

class PlatMsg : public ::testing::Test {
protected:
    void SetUp() override
    {
        quiet([] {
            plat_msg_init();
            plat_msg_set_poster(nullptr);
            plat_msg_set_replier(nullptr);
        });
        lum_ticks = 0;
        replier_calls.clear();
        poster_calls.clear();
        other_poster_calls.clear();
        replier_result = 0;
        poster_result = 0;
        held = nullptr;
    }

    // Take n poster messages, quietly
    static std::vector<PLAT_MSG *> take_posters(int n)
    {
        std::vector<PLAT_MSG *> taken;
        quiet([&] {
            for (int i = 0; i < n; i++)
                taken.push_back(plat_msg_alloc_poster());
        });
        return taken;
    }

    static void free_quietly(PLAT_MSG *msg)
    {
        quiet([msg] { plat_msg_free(msg); });
    }
};

using PlatMsgDeathTest = ThreadsafeDeathTest;

// In a fresh process: the first allocation clears the pools itself and gets reference number 1
void check_first_allocation()
{
    int failures = 0;
    auto check = [&](bool ok, const char *what) {
        if (!ok) {
            std::fprintf(stderr, "failed: %s\n", what);
            failures++;
        }
    };
    PLAT_MSG *first = nullptr;
    PLAT_MSG *second = nullptr;
    Lines log = log_messages(capture_stdout([&] {
        first = plat_msg_alloc_replier();
        second = plat_msg_alloc_poster();
    }));
    check(log.size() == 1 && is_trace_of(log[0], "plat_msg_init"), "one trace line of the implicit set-up");
    check(first && first->refid == 1 && first->active == 1, "the first message is number 1");
    check(second && second->refid == 2, "the next one, from the other pool, is number 2");
    std::exit(failures == 0 ? 0 : 1);
}

}  // namespace

// --- Set-up and handlers ---

TEST_F(PlatMsgDeathTest, FirstAllocationSetsThePoolsUpAndGetsReferenceNumberOne)
{
    EXPECT_EXIT(check_first_allocation(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PlatMsg, InitExitAndInstallingHandlersEachLogTheirTraceLine)
{
    Lines log = log_of([] {
        plat_msg_init();
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
        plat_msg_exit();
    });
    ASSERT_EQ(log.size(), 4u);
    EXPECT_TRUE(is_trace_of(log[0], "plat_msg_init")) << log[0];
    EXPECT_TRUE(is_trace_of(log[1], "plat_msg_set_poster")) << log[1];
    EXPECT_TRUE(is_trace_of(log[2], "plat_msg_set_replier")) << log[2];
    EXPECT_TRUE(is_trace_of(log[3], "plat_msg_exit")) << log[3];
}

TEST_F(PlatMsg, InitFreesEveryMessageOfBothPools)
{
    PLAT_MSG *poster = take_posters(1)[0];
    PLAT_MSG *replier = nullptr;
    quiet([&] { replier = plat_msg_alloc_replier(); });
    quiet(plat_msg_init);
    EXPECT_EQ(poster->active, 0);
    EXPECT_EQ(replier->active, 0);
}

TEST_F(PlatMsg, ExitLeavesMessagesInFlight)
{
    PLAT_MSG *msg = take_posters(1)[0];
    quiet(plat_msg_exit);
    EXPECT_EQ(msg->active, 1);
}

// --- Allocation ---

TEST_F(PlatMsg, AllocationGivesAnActiveMessageClearedToTheLastByte)
{
    PLAT_MSG *msg = take_posters(1)[0];
    std::memset(msg, 0x5A, sizeof *msg);  // a used slot full of leftovers
    free_quietly(msg);
    PLAT_MSG *again = take_posters(1)[0];
    ASSERT_EQ(again, msg);
    PLAT_MSG expected;
    std::memset(&expected, 0, sizeof expected);
    expected.active = 1;
    expected.refid = again->refid;
    EXPECT_EQ(std::memcmp(again, &expected, sizeof expected), 0);
}

TEST_F(PlatMsg, ReferenceNumbersGrowByOnePerAllocationAcrossBothPools)
{
    PLAT_MSG *a = take_posters(1)[0];
    uint32_t first = a->refid;
    PLAT_MSG *b = nullptr;
    quiet([&] { b = plat_msg_alloc_replier(); });
    free_quietly(a);
    PLAT_MSG *c = take_posters(1)[0];
    EXPECT_EQ(b->refid, first + 1) << "the replier's pool shares the numbering";
    EXPECT_EQ(c, a) << "the freed slot is taken again";
    EXPECT_EQ(c->refid, first + 2) << "but with a new number";
}

TEST_F(PlatMsg, ReInitDoesNotRestartTheNumbering)
{
    uint32_t before = take_posters(1)[0]->refid;
    quiet(plat_msg_init);
    EXPECT_EQ(take_posters(1)[0]->refid, before + 1);
}

TEST_F(PlatMsg, SeventeenthAllocationWithoutSendsReturnsNullAndLogsIt)
{
    std::vector<PLAT_MSG *> taken = take_posters(16);
    for (int i = 0; i < 16; i++) {
        ASSERT_NE(taken[i], nullptr) << i;
        for (int j = 0; j < i; j++)
            ASSERT_NE(taken[i], taken[j]) << "slots " << i << " and " << j;
    }
    PLAT_MSG *seventeenth = taken[0];
    Lines log = log_of([&] { seventeenth = plat_msg_alloc_poster(); });
    EXPECT_EQ(seventeenth, nullptr);
    EXPECT_EQ(log, Lines{"plat_msg_alloc_poster NULL"});
}

TEST_F(PlatMsg, TheReplierPoolIsFullAfterSixteenToo)
{
    PLAT_MSG *msg = nullptr;
    quiet([&] {
        for (int i = 0; i < 16; i++)
            ASSERT_NE(plat_msg_alloc_replier(), nullptr) << i;
    });
    Lines log = log_of([&] { msg = plat_msg_alloc_replier(); });
    EXPECT_EQ(msg, nullptr);
    EXPECT_EQ(log, Lines{"plat_msg_alloc_replier NULL"});
}

TEST_F(PlatMsg, AFullPosterPoolLeavesTheReplierPoolAvailable)
{
    take_posters(16);
    PLAT_MSG *msg = nullptr;
    quiet([&] { msg = plat_msg_alloc_replier(); });
    EXPECT_NE(msg, nullptr);
}

TEST_F(PlatMsg, FreedSlotFiveIsTakenAgainWhenItWasTheLastTaken)
{
    std::vector<PLAT_MSG *> taken = take_posters(6);  // slots 0 to 5
    free_quietly(taken[2]);                           // an earlier slot is free too...
    free_quietly(taken[5]);
    EXPECT_EQ(take_posters(1)[0], taken[5]) << "...but the search starts at slot 5";
    EXPECT_EQ(take_posters(1)[0], taken[5] + 1) << "and next goes on to slot 6, still not back to 2";
}

TEST_F(PlatMsg, TheSearchGoesOnFromTheLastSlotTakenAndWrapsRound)
{
    std::vector<PLAT_MSG *> taken = take_posters(16);
    free_quietly(taken[3]);
    free_quietly(taken[10]);
    free_quietly(taken[12]);
    // The last taken is slot 15: the search goes 15, 0, 1, ... and finds 3 first
    EXPECT_EQ(take_posters(1)[0], taken[3]);
    EXPECT_EQ(take_posters(1)[0], taken[10]);
    EXPECT_EQ(take_posters(1)[0], taken[12]);
}

// --- Freeing ---

TEST_F(PlatMsg, FreeLogsTheReferenceNumberAndTimestampAndFreesTheSlot)
{
    PLAT_MSG *msg = take_posters(1)[0];
    msg->timestamp = 4321;
    Lines log = log_of([&] { plat_msg_free(msg); });
    EXPECT_EQ(log, Lines{"plat_msg_free (refid " + std::to_string(msg->refid) + " timestamp 4321)"});
    EXPECT_EQ(msg->active, 0);
}

// --- Poster to replier ---

TEST_F(PlatMsg, PosterSendWithoutPosterLogsFreesAndReturnsZero)
{
    quiet([] { plat_msg_set_replier(recording_replier); });
    PLAT_MSG *msg = take_posters(1)[0];
    int result = -1;
    Lines log = log_of([&] { result = plat_msg_poster_send(msg); });
    EXPECT_EQ(result, 0);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_TRUE(is_trace_of(log[0], "plat_msg_poster_send")) << log[0];
    EXPECT_EQ(log[1], "plat_msg_poster_send no poster");
    EXPECT_EQ(log[2], free_line(*msg));
    EXPECT_EQ(msg->active, 0);
    EXPECT_TRUE(replier_calls.empty());
}

TEST_F(PlatMsg, PosterSendWithNoReplierInstalledReturnsZeroAndFreesTheMessage)
{
    quiet([] { plat_msg_set_poster(recording_poster); });
    PLAT_MSG *msg = take_posters(1)[0];
    int result = -1;
    Lines log = log_of([&] { result = plat_msg_poster_send(msg); });
    EXPECT_EQ(result, 0);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_TRUE(is_trace_of(log[0], "plat_msg_poster_send")) << log[0];
    EXPECT_EQ(log[1], "plat_msg_poster_send no replier");
    EXPECT_EQ(log[2], free_line(*msg));
    EXPECT_EQ(msg->active, 0);
    EXPECT_TRUE(poster_calls.empty());
}

TEST_F(PlatMsg, PosterSendHandsTheMessageToTheReplierWithPosterAndTickStamp)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    replier_result = PLAT_MSG_CODE_HOLD_ON;
    lum_ticks = 777;
    int context = 0;
    PLAT_MSG *msg = take_posters(1)[0];
    msg->typeid_ = PLAT_MSG_TYPE_IAP;
    msg->user.arg = PLAT_MSG_ARG_IAP_BUY;
    msg->user.hint = 9;
    msg->user.data = &context;
    std::snprintf(msg->info.iap.productid.data(), msg->info.iap.productid.size(), "%s", "donation");
    int result = -1;
    Lines log = log_of([&] { result = plat_msg_poster_send(msg); });
    EXPECT_EQ(result, PLAT_MSG_CODE_HOLD_ON);
    ASSERT_EQ(replier_calls.size(), 1u);
    const CALL &call = replier_calls[0];
    EXPECT_EQ(call.active, 1) << "the message is freed only after the handler returned";
    EXPECT_EQ(call.msg.poster, recording_poster);
    EXPECT_EQ(call.msg.timestamp, 777u);
    EXPECT_EQ(call.msg.refid, msg->refid);
    EXPECT_EQ(call.msg.typeid_, PLAT_MSG_TYPE_IAP);
    EXPECT_EQ(call.msg.user.arg, PLAT_MSG_ARG_IAP_BUY);
    EXPECT_EQ(call.msg.user.hint, 9);
    EXPECT_EQ(call.msg.user.data, &context);
    EXPECT_STREQ(call.msg.info.iap.productid.data(), "donation");
    EXPECT_TRUE(poster_calls.empty()) << "the poster's handler is only recorded, not called";
    ASSERT_EQ(log.size(), 2u);
    EXPECT_TRUE(is_trace_of(log[0], "plat_msg_poster_send")) << log[0];
    EXPECT_EQ(log[1], "plat_msg_free (refid " + std::to_string(msg->refid) + " timestamp 777)");
    EXPECT_EQ(msg->active, 0);
}

TEST_F(PlatMsg, AReplierAnsweringMinus1000MakesPosterSendReturnItAndLogTheAbort)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    replier_result = PLAT_MSG_CODE_ABORT;
    PLAT_MSG *msg = take_posters(1)[0];
    int result = 0;
    Lines log = log_of([&] { result = plat_msg_poster_send(msg); });
    EXPECT_EQ(result, -1000);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], "ABORT CODE -1000");
    EXPECT_EQ(log[2], free_line(*msg)) << "an abort frees the message too";
    EXPECT_EQ(msg->active, 0);
}

TEST_F(PlatMsg, AnyNegativeAnswerIsLoggedAsAnAbortAndPassedBack)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    replier_result = -1;
    PLAT_MSG *msg = take_posters(1)[0];
    int result = 0;
    Lines log = log_of([&] { result = plat_msg_poster_send(msg); });
    EXPECT_EQ(result, -1);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], "ABORT CODE -1");
}

TEST_F(PlatMsg, APositiveAnswerIsNotAnAbort)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    replier_result = PLAT_MSG_CODE_CANCEL;
    PLAT_MSG *msg = take_posters(1)[0];
    int result = 0;
    Lines log = log_of([&] { result = plat_msg_poster_send(msg); });
    EXPECT_EQ(result, PLAT_MSG_CODE_CANCEL);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1], free_line(*msg));
}

TEST_F(PlatMsg, SendingFreesTheSlotForTheNextRequest)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    // Far more requests than the pool holds: each send gives its slot back
    for (int i = 0; i < 40; i++) {
        PLAT_MSG *msg = take_posters(1)[0];
        ASSERT_NE(msg, nullptr) << i;
        quiet([msg] { plat_msg_poster_send(msg); });
    }
    EXPECT_EQ(replier_calls.size(), 40u);
}

// --- Replier to poster ---

TEST_F(PlatMsg, ReplierSendOnAMessageWithoutPosterUsesTheInstalledPoster)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    poster_result = 0;
    lum_ticks = 55;
    PLAT_MSG *msg = nullptr;
    quiet([&] { msg = plat_msg_alloc_replier(); });
    msg->typeid_ = PLAT_MSG_TYPE_STATUS;
    msg->code = PLAT_MSG_CODE_STATUS;
    std::snprintf(msg->info.status.text.data(), msg->info.status.text.size(), "%s", "signed in");
    int result = -1;
    Lines log = log_of([&] { result = plat_msg_replier_send(msg); });
    EXPECT_EQ(result, 0);
    ASSERT_EQ(poster_calls.size(), 1u);
    EXPECT_EQ(poster_calls[0].active, 1);
    EXPECT_EQ(poster_calls[0].msg.timestamp, 55u);
    EXPECT_EQ(poster_calls[0].msg.code, PLAT_MSG_CODE_STATUS);
    EXPECT_STREQ(poster_calls[0].msg.info.status.text.data(), "signed in");
    EXPECT_TRUE(replier_calls.empty());
    ASSERT_EQ(log.size(), 2u);
    EXPECT_TRUE(is_trace_of(log[0], "plat_msg_replier_send")) << log[0];
    EXPECT_EQ(log[1], "plat_msg_free (refid " + std::to_string(msg->refid) + " timestamp 55)");
    EXPECT_EQ(msg->active, 0);
}

TEST_F(PlatMsg, ReplierSendGoesToThePosterTheMessageNames)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    PLAT_MSG *msg = nullptr;
    quiet([&] { msg = plat_msg_alloc_replier(); });
    msg->poster = other_poster;
    quiet([&] { plat_msg_replier_send(msg); });
    EXPECT_EQ(other_poster_calls.size(), 1u);
    EXPECT_TRUE(poster_calls.empty());
}

TEST_F(PlatMsg, ReplierSendWithNoPosterAnywhereFreesThenLogsAndReturnsZero)
{
    quiet([] { plat_msg_set_replier(recording_replier); });
    PLAT_MSG *msg = nullptr;
    quiet([&] { msg = plat_msg_alloc_replier(); });
    int result = -1;
    Lines log = log_of([&] { result = plat_msg_replier_send(msg); });
    EXPECT_EQ(result, 0);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_TRUE(is_trace_of(log[0], "plat_msg_replier_send")) << log[0];
    EXPECT_EQ(log[1], free_line(*msg));
    EXPECT_EQ(log[2], "plat_msg_replier_send no poster");
    EXPECT_EQ(msg->active, 0);
    EXPECT_TRUE(replier_calls.empty());
}

TEST_F(PlatMsg, ReplierSendRequiresAnInstalledReplierToo)
{
    quiet([] { plat_msg_set_poster(recording_poster); });
    PLAT_MSG *msg = nullptr;
    quiet([&] { msg = plat_msg_alloc_replier(); });
    int result = -1;
    Lines log = log_of([&] { result = plat_msg_replier_send(msg); });
    EXPECT_EQ(result, 0);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], free_line(*msg));
    EXPECT_EQ(log[2], "plat_msg_replier_send no replier");
    EXPECT_EQ(msg->active, 0);
    EXPECT_TRUE(poster_calls.empty()) << "the answer is not delivered";
}

TEST_F(PlatMsg, APosterRefusingAnAnswerIsLoggedAsAnAbort)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(recording_replier);
    });
    poster_result = -5;
    PLAT_MSG *msg = nullptr;
    quiet([&] { msg = plat_msg_alloc_replier(); });
    int result = 0;
    Lines log = log_of([&] { result = plat_msg_replier_send(msg); });
    EXPECT_EQ(result, -5);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], "ABORT CODE -5");
    EXPECT_EQ(log[2], free_line(*msg));
    EXPECT_EQ(msg->active, 0);
}

TEST_F(PlatMsg, AReplierCanAnswerLaterWithItsOwnCopyOfTheRequest)
{
    quiet([] {
        plat_msg_set_poster(recording_poster);
        plat_msg_set_replier(deferring_replier);
    });
    int context = 0;
    PLAT_MSG *request = take_posters(1)[0];
    request->typeid_ = PLAT_MSG_TYPE_IAP;
    request->user = {PLAT_MSG_ARG_IAP_FETCH_PRODUCTS, 3, &context};
    int result = 0;
    quiet([&] { result = plat_msg_poster_send(request); });
    EXPECT_EQ(result, PLAT_MSG_CODE_HOLD_ON);
    EXPECT_EQ(request->active, 0) << "the request is gone once the send returns";
    ASSERT_NE(held, nullptr);
    EXPECT_TRUE(poster_calls.empty());

    // Later, the answer arrives with everything the poster needs to recognise it
    held->user.arg = PLAT_MSG_ARG_IAP_PRODUCT_INFO;
    held->code = PLAT_MSG_CODE_OK;
    quiet([&] { result = plat_msg_replier_send(held); });
    EXPECT_EQ(result, 0);
    ASSERT_EQ(poster_calls.size(), 1u);
    EXPECT_EQ(poster_calls[0].msg.typeid_, PLAT_MSG_TYPE_IAP);
    EXPECT_EQ(poster_calls[0].msg.user.arg, PLAT_MSG_ARG_IAP_PRODUCT_INFO);
    EXPECT_EQ(poster_calls[0].msg.user.hint, 3);
    EXPECT_EQ(poster_calls[0].msg.user.data, &context);
    EXPECT_EQ(held->active, 0);
}

// --- The record ---

TEST_F(PlatMsg, TypesCodesAndStoreKindsHaveTheirNumbers)
{
    EXPECT_EQ(PLAT_MSG_TYPE_FREE, 0u);
    EXPECT_EQ(PLAT_MSG_TYPE_STATUS, 1u);
    EXPECT_EQ(PLAT_MSG_TYPE_ERROR, 2u);
    EXPECT_EQ(PLAT_MSG_TYPE_SCORE, 3u);
    EXPECT_EQ(PLAT_MSG_TYPE_IAP, 4u);
    EXPECT_EQ(PLAT_MSG_CODE_ABORT, -1000);
    EXPECT_EQ(PLAT_MSG_CODE_OK, 0);
    EXPECT_EQ(PLAT_MSG_CODE_CANCEL, 1);
    EXPECT_EQ(PLAT_MSG_CODE_HOLD_ON, 2);
    EXPECT_EQ(PLAT_MSG_CODE_STATUS, 3);
    EXPECT_EQ(PLAT_MSG_ARG_IAP_BUY, 1);
    EXPECT_EQ(PLAT_MSG_ARG_IAP_TRANSACTION, 2);
    EXPECT_EQ(PLAT_MSG_ARG_IAP_FETCH_PRODUCTS, 3);
    EXPECT_EQ(PLAT_MSG_ARG_IAP_PRODUCT_INFO, 4);
}

TEST_F(PlatMsg, TextFieldsHaveTheirFixedSizes)
{
    PLAT_MSG msg{};
    EXPECT_EQ(msg.info.score.category.size(), 80u);
    EXPECT_EQ(msg.info.score.playerid.size(), 80u);
    EXPECT_EQ(msg.info.score.playerdesc.size(), 80u);
    EXPECT_EQ(msg.info.iap.productids_csv.size(), 320u);
    EXPECT_EQ(msg.info.iap.productid.size(), 80u);
    EXPECT_EQ(msg.info.iap.title.size(), 80u);
    EXPECT_EQ(msg.info.iap.description.size(), 160u);
    EXPECT_EQ(msg.info.iap.transactionid.size(), 80u);
    EXPECT_EQ(msg.info.iap.pricetext.size(), 80u);
    EXPECT_EQ(msg.info.error.text.size(), 240u);
    EXPECT_EQ(msg.info.status.text.size(), 240u);
}

TEST_F(PlatMsg, AFetchListAndAProductRecordShareTheirStorage)
{
    PLAT_MSG msg{};
    std::snprintf(msg.info.iap.productids_csv.data(), msg.info.iap.productids_csv.size(), "%s", "one,two");
    EXPECT_STREQ(msg.info.iap.productid.data(), "one,two");
    EXPECT_NE(static_cast<void *>(&msg.info.iap.quantity), static_cast<void *>(msg.info.iap.productids_csv.data()))
        << "the quantity follows both forms";
    EXPECT_GE(reinterpret_cast<const char *>(&msg.info.iap.quantity),
              reinterpret_cast<const char *>(&msg.info.iap.priceval + 1));
}

TEST_F(PlatMsg, AScoresContextReadsAsEightBytesOrOneNumber)
{
    PLAT_MSG msg{};
    msg.info.score.context.value = 0x0102030405060708;
    int64_t back = 0;
    std::memcpy(&back, msg.info.score.context.bytes.data(), sizeof back);
    EXPECT_EQ(msg.info.score.context.bytes.size(), 8u);
    EXPECT_EQ(back, 0x0102030405060708);
}
