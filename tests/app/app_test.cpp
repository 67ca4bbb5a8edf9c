// The shell through the headless platform: pacing, Escape from either source, the
// one-message-per-frame loop, start-up and tear-down.
#include <gtest/gtest.h>

#include "app/app.h"
#include "app/headless/headless.h"
#include "display/display.h"
#include "display/headless/display_headless.h"
#include "platform/frame_clock.h"
#include "platform/keyboard.h"
#include "platform/window.h"

TEST(FrameClock, ShortFramesAreStretchedLongOnesAreNot) {
    HeadlessReset();
    HeadlessClockSet(1000);
    EXPECT_EQ(FrameStartStamp(), 1000u);
    HeadlessClockSet(1003);  // 3 ms of work
    EXPECT_EQ(WaitFrameTime(25), 1025u);
    EXPECT_FLOAT_EQ(FramesPerSecondUpdate(), 40.0f);

    FrameStartStamp();
    HeadlessClockSet(1085);  // 60 ms of work
    EXPECT_EQ(WaitFrameTime(25), 1085u);
    EXPECT_FLOAT_EQ(FramesPerSecondUpdate(), 1000.0f / 60.0f);

    // The wait works on the unsigned difference, so it survives the clock wrapping.
    HeadlessClockSet(0xFFFFFFF0u);
    FrameStartStamp();
    EXPECT_EQ(WaitFrameTime(25), 0xFFFFFFF0u + 25u);
}

TEST(Keyboard, NoDeviceReadsAllZeroAndFailedReadKeepsSnapshot) {
    HeadlessReset();
    HeadlessKeyboardSetFail(1, 0);
    EXPECT_EQ(InputCreate(), 0);
    EXPECT_EQ(KeyboardCreate(), 0);
    HeadlessKeySet(kDikEscape, 0x80);
    EXPECT_EQ(KeyboardRead(), 0);
    EXPECT_EQ(KeyboardState()[kDikEscape], 0);
    EXPECT_EQ(KeyboardEscapeDown(), 0);

    HeadlessReset();
    ASSERT_EQ(InputCreate(), 1);
    ASSERT_EQ(KeyboardCreate(), 1);
    HeadlessKeySet(kDikEscape, 0x80);
    EXPECT_EQ(KeyboardRead(), 1);
    HeadlessKeyboardSetFail(0, 1);
    HeadlessKeySet(kDikEscape, 0);
    EXPECT_EQ(KeyboardRead(), 0);  // a key seen down stays down until a read succeeds
    EXPECT_NE(KeyboardEscapeDown(), 0);

    // Any non-zero byte counts, not only the high bit.
    HeadlessKeyboardSetFail(0, 0);
    HeadlessKeySet(kDikEscape, 0x01);
    KeyboardRead();
    EXPECT_NE(KeyboardEscapeDown(), 0);
}

// Counts presented frames and presses Escape (by the chosen source) at a chosen frame.
struct Script {
    int frames = 0;
    int escapeAtFrame = -1;
    bool async = false;
    float maxFps = 0;
};

static void ScriptSink(const uint16_t*, int32_t, int32_t, int32_t, void* user) {
    Script* script = static_cast<Script*>(user);
    ++script->frames;
    if (script->frames == script->escapeAtFrame) {
        if (script->async)
            HeadlessEscapeAsyncSet(1);
        else
            HeadlessKeySet(kDikEscape, 0x80);
    }
}

// Starts the intro headless with a script, runs the main loop to its end.
static int RunIntro(Script* script) {
    HeadlessReset();
    HeadlessClockSet(5000);
    HeadlessDisplaySetSink(ScriptSink, script);
    AppInit();
    const int result = AppMainLoop();
    HeadlessDisplaySetSink(nullptr, nullptr);
    return result;
}

TEST(MainLoop, EscapeEndsTheRunAfterTheFrameItIsSeenIn) {
    // Through the async source: seen at the end of frame 3 (after its present), the
    // destroy message is handled before frame 4, the quit message before frame 5.
    Script async;
    async.escapeAtFrame = 3;
    async.async = true;
    EXPECT_EQ(RunIntro(&async), 0);
    EXPECT_EQ(async.frames, 4);

    // Through the scan-code state: pressed during frame 3's present, read by frame 4.
    Script scan;
    scan.escapeAtFrame = 3;
    EXPECT_EQ(RunIntro(&scan), 0);
    EXPECT_EQ(scan.frames, 5);
    // Without a keyboard device, or a display, see tests/reliability's edge paths.
}

TEST(MainLoop, FramesArePacedAndTearDownRestoresTheShell) {
    Script script;
    script.escapeAtFrame = 10;
    script.async = true;
    HeadlessReset();
    HeadlessClockSet(5000);
    HeadlessDisplaySetSink(ScriptSink, &script);
    AppInit();
    EXPECT_EQ(HeadlessScreenSaverActive(), 0);
    EXPECT_EQ(HeadlessCursorShown(), 0);
    AppMainLoop();
    HeadlessDisplaySetSink(nullptr, nullptr);
    EXPECT_EQ(script.frames, 11);
    // Eleven frames of 25 virtual ms each, and never more than 40 per second.
    EXPECT_EQ(HeadlessClockNow(), 5000u + 11 * 25);
    EXPECT_LE(FramesPerSecond(), 40.0f);
    EXPECT_EQ(HeadlessScreenSaverActive(), 1);
    EXPECT_EQ(DisplayBackSurface(), nullptr);
}

TEST(MainLoop, OneMessagePerFrameAndQuitEndsBeforeAnotherFrame) {
    Script script;
    HeadlessReset();
    HeadlessClockSet(5000);
    HeadlessDisplaySetSink(ScriptSink, &script);
    AppInit();
    // A burst: five messages, then the destroy message; each turn takes one.
    for (uint32_t i = 0; i < 5; ++i) HeadlessPostMessage(0x0200 + i, i);
    HeadlessPostMessage(kMessageDestroy, 0);
    // Driven a turn at a time, as a host that owns the loop does.
    int turns = 0, exitCode = -1;
    while (AppMainTurn(&exitCode)) ++turns;
    HeadlessDisplaySetSink(nullptr, nullptr);
    // Five frames behind the burst, one behind the destroy message; the quit message
    // it turned into ended the loop before a seventh frame.
    EXPECT_EQ(turns, 6);
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(script.frames, 6);
    EXPECT_EQ(HeadlessPendingMessages(), 0);

    // A quit message waiting before the first turn ends the loop with no frame at all,
    // and hands back its wParam.
    Script none;
    HeadlessReset();
    HeadlessDisplaySetSink(ScriptSink, &none);
    AppInit();
    HeadlessPostMessage(kMessageQuit, 7);
    EXPECT_EQ(AppMainLoop(), 7);
    EXPECT_EQ(none.frames, 0);
    HeadlessDisplaySetSink(nullptr, nullptr);
}
