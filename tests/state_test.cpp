// Tests of the screen state machine: switching with leave/enter notifications, the last
// screen, and forwarding of ticks and frames to the current screen.
#include <gtest/gtest.h>

#include <string>

#include "state.h"

namespace {

// What the state machine looked like when the program was loaded, before any test ran.
STATE *const current_at_load = state_current();
STATE *const last_at_load = state_last();

// Every callback appends its screen's letter and what happened: + enter, - leave, u update,
// r render. The order of the calls is then visible in one string.
std::string calls;

void a_enter() { calls += "A+"; }
void a_update() { calls += "Au"; }
void a_render() { calls += "Ar"; }
void a_leave() { calls += "A-"; }
void b_enter() { calls += "B+"; }
void b_update() { calls += "Bu"; }
void b_render() { calls += "Br"; }
void b_leave() { calls += "B-"; }
void z_enter() { calls += "Z+"; }
void z_leave() { calls += "Z-"; }

STATE screen_a = {a_enter, a_update, a_render, a_leave};
STATE screen_b = {b_enter, b_update, b_render, b_leave};
STATE screen_z = {z_enter, nullptr, nullptr, z_leave};
STATE screen_bare = {nullptr, nullptr, nullptr, nullptr};

// A screen whose enter moves straight on to Z
void hop_enter()
{
    calls += "H+";
    state_switch(&screen_z);
}
void hop_leave() { calls += "H-"; }
STATE screen_hop = {hop_enter, nullptr, nullptr, hop_leave};

// A screen whose leave switches to B once (a nested switch runs this leave again; the flag stops
// the recursion there)
bool divert_armed = false;
void divert_enter() { calls += "D+"; }
void divert_leave()
{
    calls += "D-";
    if (divert_armed) {
        divert_armed = false;
        state_switch(&screen_b);
    }
}
STATE screen_divert = {divert_enter, nullptr, nullptr, divert_leave};

class State : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Start every test from A, installed without notifications, and a clean call log.
        state_set(&screen_a);
        calls.clear();
        divert_armed = false;
    }
};

}  // namespace

TEST(StateAtLoad, TheIdleScreenIsCurrentAndNoScreenIsLast)
{
    ASSERT_NE(current_at_load, nullptr);
    EXPECT_EQ(last_at_load, nullptr);
    // The idle screen has all four callbacks, and they can be called.
    ASSERT_NE(current_at_load->enter, nullptr);
    ASSERT_NE(current_at_load->update, nullptr);
    ASSERT_NE(current_at_load->render, nullptr);
    ASSERT_NE(current_at_load->leave, nullptr);
    current_at_load->enter();
    current_at_load->update();
    current_at_load->render();
    current_at_load->leave();
}

TEST_F(State, SwitchToNullReturnsTheCurrentScreenAndCallsNothing)
{
    state_switch(&screen_b);
    calls.clear();
    EXPECT_EQ(state_switch(nullptr), &screen_b);
    EXPECT_EQ(calls, "");
    EXPECT_EQ(state_current(), &screen_b);
    EXPECT_EQ(state_last(), &screen_a);
}

TEST_F(State, SwitchLeavesTheOldScreenThenEntersTheNewOne)
{
    EXPECT_EQ(state_switch(&screen_b), &screen_b);
    EXPECT_EQ(calls, "A-B+");
    EXPECT_EQ(state_current(), &screen_b);
    EXPECT_EQ(state_last(), &screen_a);
}

TEST_F(State, SwitchToTheCurrentScreenRerunsLeaveAndEnterButKeepsLast)
{
    state_switch(&screen_b);
    calls.clear();
    EXPECT_EQ(state_switch(&screen_b), &screen_b);
    EXPECT_EQ(calls, "B-B+");
    EXPECT_EQ(state_current(), &screen_b);
    EXPECT_EQ(state_last(), &screen_a);
}

TEST_F(State, SwitchingThereAndBackLeavesTheOtherScreenAsLast)
{
    state_switch(&screen_b);
    state_switch(&screen_a);
    EXPECT_EQ(calls, "A-B+B-A+");
    EXPECT_EQ(state_current(), &screen_a);
    EXPECT_EQ(state_last(), &screen_b);
}

TEST_F(State, AScreenCanReturnToTheLastScreen)
{
    state_switch(&screen_b);
    EXPECT_EQ(state_switch(state_last()), &screen_a);
    EXPECT_EQ(state_current(), &screen_a);
    EXPECT_EQ(state_last(), &screen_b);
}

TEST_F(State, AScreenWithoutEnterOrLeaveSwitchesSilently)
{
    // Entering a bare screen returns it; leaving it only enters the next one.
    EXPECT_EQ(state_switch(&screen_bare), &screen_bare);
    EXPECT_EQ(calls, "A-");
    EXPECT_EQ(state_last(), &screen_a);
    calls.clear();
    EXPECT_EQ(state_switch(&screen_b), &screen_b);
    EXPECT_EQ(calls, "B+");
    EXPECT_EQ(state_last(), &screen_bare);
}

TEST_F(State, AScreenWithoutUpdateOrRenderIgnoresTicksAndFrames)
{
    state_set(&screen_bare);
    state_update();
    state_render();
    EXPECT_EQ(calls, "");
    EXPECT_EQ(state_current(), &screen_bare);
}

TEST_F(State, UpdateAndRenderReachOnlyTheCurrentScreen)
{
    state_update();
    state_render();
    state_switch(&screen_b);
    state_update();
    state_render();
    EXPECT_EQ(calls, "AuArA-B+BuBr");
}

TEST_F(State, AnEnterThatSwitchesAgainMakesTheOuterCallReturnTheLaterScreen)
{
    EXPECT_EQ(state_switch(&screen_hop), &screen_z);
    EXPECT_EQ(calls, "A-H+H-Z+");
    EXPECT_EQ(state_current(), &screen_z);
    EXPECT_EQ(state_last(), &screen_hop);
}

TEST_F(State, SetMakesAScreenCurrentWithoutNotificationsAndKeepsLast)
{
    state_switch(&screen_b);
    calls.clear();
    state_set(&screen_z);
    EXPECT_EQ(calls, "");
    EXPECT_EQ(state_current(), &screen_z);
    EXPECT_EQ(state_last(), &screen_a);
    // The installed screen is left normally by the next switch.
    state_switch(&screen_a);
    EXPECT_EQ(calls, "Z-A+");
    EXPECT_EQ(state_last(), &screen_z);
}

TEST_F(State, ALeaveThatSwitchesCountsWhenTheTargetIsCompared)
{
    // D's leave moves on to B; the outer switch back to D then finds B current, so B becomes
    // the last screen.
    state_set(&screen_divert);
    divert_armed = true;
    EXPECT_EQ(state_switch(&screen_divert), &screen_divert);
    EXPECT_EQ(calls, "D-D-B+D+");
    EXPECT_EQ(state_current(), &screen_divert);
    EXPECT_EQ(state_last(), &screen_b);
}

TEST_F(State, ALeaveThatAlreadySwitchedToTheTargetKeepsTheNestedLastScreen)
{
    // D's leave switches to B, so when the outer switch then compares its target B it is
    // already current: B is entered twice and the last screen stays D from the nested switch.
    state_set(&screen_divert);
    divert_armed = true;
    EXPECT_EQ(state_switch(&screen_b), &screen_b);
    EXPECT_EQ(calls, "D-D-B+B+");
    EXPECT_EQ(state_current(), &screen_b);
    EXPECT_EQ(state_last(), &screen_divert);
}
