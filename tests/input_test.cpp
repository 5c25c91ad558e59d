// Tests of the per-tick input state: the event ring, delivery into the key and pointer tables,
// the application callback and the end-of-tick clearing.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "input.h"
#include "lum.h"

namespace {

// Every event the callback was offered, in order
std::vector<INPUT_EVENT> seen;

void record_event(INPUT_EVENT *event)
{
    seen.push_back(*event);
}

// Records the event and, for a press of K_ENTER, queues the matching release
void release_enter_on_press(INPUT_EVENT *event)
{
    seen.push_back(*event);
    if (event->keyid == K_ENTER && event->type == INPUT_PRESSED) {
        INPUT_EVENT release = {INPUT_RELEASED, K_ENTER, 0, 0.0f, 0.0f, 0};
        input_add_event(&release);
    }
}

INPUT_EVENT key_event(int type, int keyid)
{
    return INPUT_EVENT{type, keyid, 0, 0.0f, 0.0f, 0};
}

INPUT_EVENT pointer_event(int type, int id, float x, float y)
{
    return INPUT_EVENT{type, K_MOUSE, id, x, y, 0};
}

void queue(INPUT_EVENT event)
{
    input_add_event(&event);
}

bool all_pointer_slots_clear()
{
    for (const MOUSE_STATE &slot : mouse_state)
        if (slot.x || slot.y || slot.state || slot.down)
            return false;
    return true;
}

bool all_keys_clear()
{
    for (int k = 0; k < K_COUNT; k++)
        if (keys[k] || keyevent[k])
            return false;
    return true;
}

class Input : public ::testing::Test {
protected:
    void SetUp() override
    {
        input_set_callback(nullptr);
        input_init();
        seen.clear();
        lum_ticks = 0;
    }
    void TearDown() override
    {
        input_set_callback(nullptr);
    }
};

}  // namespace

// --- Start-up and reset ---

TEST_F(Input, InitLogsAndClearsTheTablesAndTheRing)
{
    queue(key_event(INPUT_PRESSED, K_UP));
    queue(pointer_event(INPUT_PRESSED, 0, 5.0f, 6.0f));
    input_update_events();
    queue(key_event(INPUT_PRESSED, K_DOWN));

    testing::internal::CaptureStdout();
    input_init();
    std::string log = testing::internal::GetCapturedStdout();

    EXPECT_NE(log.find("INPUT INIT"), std::string::npos);
    EXPECT_TRUE(all_keys_clear());
    EXPECT_TRUE(all_pointer_slots_clear());
    // The press of K_DOWN queued before init is gone.
    EXPECT_EQ(input_update_events(), 0);
    EXPECT_EQ(keys[K_DOWN], 0);
}

TEST_F(Input, InitKeepsTheCallback)
{
    input_set_callback(record_event);
    input_init();
    queue(key_event(INPUT_PRESSED, K_A));
    input_update_events();
    EXPECT_EQ(seen.size(), 1u);
}

TEST_F(Input, ResetForgetsHeldKeysPointersAndQueuedEvents)
{
    queue(key_event(INPUT_PRESSED, K_LEFT));
    queue(pointer_event(INPUT_PRESSED, 3, 40.0f, 50.0f));
    input_update_events();
    queue(key_event(INPUT_PRESSED, K_RIGHT));

    input_reset();

    EXPECT_TRUE(all_keys_clear());
    EXPECT_TRUE(all_pointer_slots_clear());
    EXPECT_EQ(input_update_events(), 0);
}

// --- The ring ---

TEST_F(Input, AddEventStampsTheCallersRecordButNotTheQueuedCopy)
{
    input_set_callback(record_event);
    lum_ticks = 1234;
    INPUT_EVENT event = key_event(INPUT_PRESSED, K_ENTER);
    event.timestamp = 7;
    input_add_event(&event);
    EXPECT_EQ(event.timestamp, 1234u);

    input_update_events();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].timestamp, 7u);
}

TEST_F(Input, EventsAreDeliveredInTheOrderTheyWereQueued)
{
    input_set_callback(record_event);
    queue(key_event(INPUT_PRESSED, K_1));
    queue(pointer_event(INPUT_MOVED, 2, 1.0f, 2.0f));
    queue(key_event(INPUT_RELEASED, K_2));
    EXPECT_EQ(input_update_events(), 3);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].keyid, K_1);
    EXPECT_EQ(seen[1].keyid, K_MOUSE);
    EXPECT_EQ(seen[1].id, 2);
    EXPECT_EQ(seen[1].type, INPUT_MOVED);
    EXPECT_FLOAT_EQ(seen[1].x, 1.0f);
    EXPECT_FLOAT_EQ(seen[1].y, 2.0f);
    EXPECT_EQ(seen[2].keyid, K_2);
    EXPECT_EQ(seen[2].type, INPUT_RELEASED);
    // The ring is drained: a second delivery in the same tick finds nothing.
    EXPECT_EQ(input_update_events(), 0);
    EXPECT_EQ(seen.size(), 3u);
}

TEST_F(Input, TheRingWrapsAroundAfterItsLastEntry)
{
    // Two batches of 200 carry the write position past the end of the ring and back.
    input_set_callback(record_event);
    for (int batch = 0; batch < 2; batch++) {
        seen.clear();
        for (int i = 0; i < 200; i++)
            queue(key_event(INPUT_PRESSED, i % K_COUNT));
        ASSERT_EQ(input_update_events(), 200);
        ASSERT_EQ(seen.size(), 200u);
        for (int i = 0; i < 200; i++)
            EXPECT_EQ(seen[i].keyid, i % K_COUNT);
    }
}

TEST_F(Input, TwoHundredFiftyFiveEventsInOneTickAreAllDelivered)
{
    for (int i = 0; i < INPUT_RING_SIZE - 1; i++)
        queue(key_event(INPUT_PRESSED, K_F1));
    EXPECT_EQ(input_update_events(), INPUT_RING_SIZE - 1);
}

TEST_F(Input, TwoHundredFiftySixEventsInOneTickLeaveTheRingLookingEmpty)
{
    input_set_callback(record_event);
    for (int i = 0; i < INPUT_RING_SIZE; i++)
        queue(key_event(INPUT_PRESSED, K_F2));
    EXPECT_EQ(input_update_events(), 0);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(keys[K_F2], 0);
}

// --- Keys ---

TEST_F(Input, AKeyPressHoldsTheKeyAndMarksThisTick)
{
    queue(key_event(INPUT_PRESSED, K_W));
    EXPECT_EQ(input_update_events(), 1);
    EXPECT_EQ(keys[K_W], 1);
    EXPECT_EQ(keyevent[K_W], INPUT_PRESSED);
}

TEST_F(Input, AKeyPressedAndReleasedInOneTickEndsReleasedAndBothEventsAreOffered)
{
    input_set_callback(record_event);
    queue(key_event(INPUT_PRESSED, K_SLASH));
    queue(key_event(INPUT_RELEASED, K_SLASH));
    EXPECT_EQ(input_update_events(), 2);
    EXPECT_EQ(keys[K_SLASH], 0);
    EXPECT_EQ(keyevent[K_SLASH], INPUT_RELEASED);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].keyid, K_SLASH);
    EXPECT_EQ(seen[0].type, INPUT_PRESSED);
    EXPECT_EQ(seen[1].keyid, K_SLASH);
    EXPECT_EQ(seen[1].type, INPUT_RELEASED);
}

TEST_F(Input, AKeyReleasedAndPressedAgainInOneTickIsHeld)
{
    queue(key_event(INPUT_PRESSED, K_TAB));
    input_update_events();
    input_clear_events();

    queue(key_event(INPUT_RELEASED, K_TAB));
    queue(key_event(INPUT_PRESSED, K_TAB));
    input_update_events();
    EXPECT_EQ(keys[K_TAB], 1);
    EXPECT_EQ(keyevent[K_TAB], INPUT_PRESSED);
}

TEST_F(Input, AKeyEventWithoutPressOrReleaseOnlyRecordsItsType)
{
    queue(key_event(INPUT_PRESSED, K_S));
    input_update_events();
    input_clear_events();

    queue(key_event(INPUT_MOVED, K_S));
    queue(key_event(INPUT_MOVED, K_D));
    input_update_events();
    EXPECT_EQ(keys[K_S], 1);
    EXPECT_EQ(keys[K_D], 0);
    EXPECT_EQ(keyevent[K_S], INPUT_MOVED);
    EXPECT_EQ(keyevent[K_D], INPUT_MOVED);
}

TEST_F(Input, KeyNoneEventsAreDeliveredAndCounted)
{
    input_set_callback(record_event);
    queue(key_event(INPUT_PRESSED, K_NONE));
    EXPECT_EQ(input_update_events(), 1);
    EXPECT_EQ(keys[K_NONE], 1);
    EXPECT_EQ(keyevent[K_NONE], INPUT_PRESSED);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].keyid, K_NONE);
}

TEST_F(Input, EventsWithKeyIdsOutsideTheTableAreDroppedAndNotCounted)
{
    input_set_callback(record_event);
    queue(key_event(INPUT_PRESSED, K_COUNT));
    queue(key_event(INPUT_PRESSED, 200));
    queue(key_event(INPUT_PRESSED, -1));
    queue(key_event(INPUT_PRESSED, K_D));
    EXPECT_EQ(input_update_events(), 1);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].keyid, K_D);
    keys[K_D] = 0;
    keyevent[K_D] = 0;
    EXPECT_TRUE(all_keys_clear());
    EXPECT_TRUE(all_pointer_slots_clear());
}

TEST_F(Input, ClearEventsForgetsKeyEventsButKeepsHeldKeys)
{
    queue(key_event(INPUT_PRESSED, K_ESC));
    queue(key_event(INPUT_PRESSED, K_BS));
    queue(key_event(INPUT_RELEASED, K_BS));
    input_update_events();
    input_clear_events();
    EXPECT_EQ(keys[K_ESC], 1);
    EXPECT_EQ(keys[K_BS], 0);
    EXPECT_TRUE(std::all_of(keyevent.begin(), keyevent.end(), [](uint8_t v) { return v == 0; }));
}

// --- Pointers ---

TEST_F(Input, APointerPressIsHeldAndMarkedInItsSlot)
{
    queue(pointer_event(INPUT_PRESSED, 0, 120.0f, 80.0f));
    EXPECT_EQ(input_update_events(), 1);
    EXPECT_EQ(mouse_state[0].x, 120);
    EXPECT_EQ(mouse_state[0].y, 80);
    EXPECT_EQ(mouse_state[0].state, INPUT_PRESSED);
    EXPECT_EQ(mouse_state[0].down, 1);
}

TEST_F(Input, PointerEventsLeaveTheKeyTablesAlone)
{
    queue(pointer_event(INPUT_PRESSED, 0, 1.0f, 1.0f));
    queue(pointer_event(INPUT_RELEASED, 1, 1.0f, 1.0f));
    input_update_events();
    EXPECT_TRUE(all_keys_clear());
}

TEST_F(Input, PointerPositionsAreTruncatedTowardZero)
{
    queue(pointer_event(INPUT_MOVED, 1, 12.9f, -3.7f));
    input_update_events();
    EXPECT_EQ(mouse_state[1].x, 12);
    EXPECT_EQ(mouse_state[1].y, -3);
}

TEST_F(Input, AMousePressFollowedByMovesStaysPressedForTheTick)
{
    queue(pointer_event(INPUT_PRESSED, 0, 10.0f, 10.0f));
    queue(pointer_event(INPUT_MOVED, 0, 11.0f, 12.0f));
    queue(pointer_event(INPUT_MOVED, 0, 13.0f, 14.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[0].state, INPUT_PRESSED);
    EXPECT_EQ(mouse_state[0].down, 1);
    // The position still follows the moves.
    EXPECT_EQ(mouse_state[0].x, 13);
    EXPECT_EQ(mouse_state[0].y, 14);
    input_clear_events();

    // In the next tick a move alone is recorded.
    queue(pointer_event(INPUT_MOVED, 0, 15.0f, 16.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[0].state, INPUT_MOVED);
    EXPECT_EQ(mouse_state[0].down, 1);
}

TEST_F(Input, AMoveBeforeAPressInOneTickIsMergedWithThePress)
{
    queue(pointer_event(INPUT_MOVED, 0, 1.0f, 1.0f));
    queue(pointer_event(INPUT_PRESSED, 0, 2.0f, 2.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[0].state, INPUT_MOVED | INPUT_PRESSED);
}

TEST_F(Input, APointerPressedAndReleasedInOneTickIsMarkedBothAndNotDown)
{
    queue(pointer_event(INPUT_PRESSED, 4, 30.0f, 40.0f));
    queue(pointer_event(INPUT_RELEASED, 4, 31.0f, 41.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[4].state, INPUT_PRESSED | INPUT_RELEASED);
    EXPECT_EQ(mouse_state[4].down, 0);
    EXPECT_EQ(mouse_state[4].x, 31);
    EXPECT_EQ(mouse_state[4].y, 41);
}

TEST_F(Input, AReleaseIsNotHiddenByALaterMove)
{
    queue(pointer_event(INPUT_PRESSED, 0, 0.0f, 0.0f));
    input_update_events();
    input_clear_events();

    queue(pointer_event(INPUT_RELEASED, 0, 5.0f, 5.0f));
    queue(pointer_event(INPUT_MOVED, 0, 6.0f, 6.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[0].state, INPUT_RELEASED);
    EXPECT_EQ(mouse_state[0].down, 0);
}

TEST_F(Input, APressCarryingOtherBitsMergesItsWholeType)
{
    queue(pointer_event(INPUT_PRESSED | INPUT_MOVED, 0, 0.0f, 0.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[0].state, INPUT_PRESSED | INPUT_MOVED);
    EXPECT_EQ(mouse_state[0].down, 1);
}

TEST_F(Input, PointerSlotsAreKeptApartByPointerId)
{
    queue(pointer_event(INPUT_PRESSED, 0, 1.0f, 2.0f));
    queue(pointer_event(INPUT_MOVED, INPUT_POINTER_COUNT - 1, 3.0f, 4.0f));
    input_update_events();
    EXPECT_EQ(mouse_state[0].state, INPUT_PRESSED);
    EXPECT_EQ(mouse_state[0].x, 1);
    EXPECT_EQ(mouse_state[INPUT_POINTER_COUNT - 1].state, INPUT_MOVED);
    EXPECT_EQ(mouse_state[INPUT_POINTER_COUNT - 1].down, 0);
    EXPECT_EQ(mouse_state[INPUT_POINTER_COUNT - 1].x, 3);
    for (int id = 1; id < INPUT_POINTER_COUNT - 1; id++)
        EXPECT_EQ(mouse_state[id].state, 0) << "slot " << id;
}

TEST_F(Input, PointerIdsWithoutASlotAreCountedAndOfferedButChangeNoSlot)
{
    input_set_callback(record_event);
    queue(pointer_event(INPUT_PRESSED, INPUT_POINTER_COUNT, 7.0f, 8.0f));
    queue(pointer_event(INPUT_PRESSED, 1000, 7.0f, 8.0f));
    queue(pointer_event(INPUT_PRESSED, -1, 7.0f, 8.0f));
    EXPECT_EQ(input_update_events(), 3);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].id, INPUT_POINTER_COUNT);
    EXPECT_EQ(seen[1].id, 1000);
    EXPECT_EQ(seen[2].id, -1);
    EXPECT_TRUE(all_pointer_slots_clear());
    EXPECT_TRUE(all_keys_clear());
}

TEST_F(Input, ClearEventsForgetsPointerFlagsButKeepsPositionsAndDown)
{
    queue(pointer_event(INPUT_PRESSED, 0, 9.0f, 10.0f));
    queue(pointer_event(INPUT_PRESSED, 2, 11.0f, 12.0f));
    queue(pointer_event(INPUT_RELEASED, 2, 11.0f, 12.0f));
    input_update_events();
    input_clear_events();
    EXPECT_EQ(mouse_state[0].state, 0);
    EXPECT_EQ(mouse_state[0].down, 1);
    EXPECT_EQ(mouse_state[0].x, 9);
    EXPECT_EQ(mouse_state[0].y, 10);
    EXPECT_EQ(mouse_state[2].state, 0);
    EXPECT_EQ(mouse_state[2].down, 0);
    EXPECT_EQ(mouse_state[2].x, 11);
}

// --- The callback ---

TEST_F(Input, TheCallbackSeesEachEventAsItWasQueued)
{
    input_set_callback(record_event);
    queue(pointer_event(INPUT_MOVED, 3, 2.5f, -4.25f));
    input_update_events();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].type, INPUT_MOVED);
    EXPECT_EQ(seen[0].keyid, K_MOUSE);
    EXPECT_EQ(seen[0].id, 3);
    EXPECT_FLOAT_EQ(seen[0].x, 2.5f);
    EXPECT_FLOAT_EQ(seen[0].y, -4.25f);
}

TEST_F(Input, EventsQueuedByTheCallbackAreDeliveredInTheSamePass)
{
    input_set_callback(release_enter_on_press);
    queue(key_event(INPUT_PRESSED, K_ENTER));
    EXPECT_EQ(input_update_events(), 2);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[1].keyid, K_ENTER);
    EXPECT_EQ(seen[1].type, INPUT_RELEASED);
    EXPECT_EQ(keys[K_ENTER], 0);
    EXPECT_EQ(keyevent[K_ENTER], INPUT_RELEASED);
    // Nothing is left for the next pass.
    EXPECT_EQ(input_update_events(), 0);
}
