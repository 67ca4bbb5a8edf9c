// The shell's edge paths: a display, a keyboard or a music start that fails leaves that
// part inert, and the intro still runs its frames and ends on Escape through the main
// loop. Each case also runs after a normal run in the same process, so that nothing a
// working part left behind is trusted once that part has failed to start.
#include <gtest/gtest.h>

#include "app/app.h"
#include "demo/demo.h"
#include "display/display.h"
#include "platform/keyboard.h"
#include "tests/reliability/show_rig.h"

namespace {

enum Failure { kNone = 0, kDisplay = 1, kKeyboard = 2, kMusic = 4 };

struct ShowResult {
    int frames = 0;        // frames drawn (the timeline's count)
    int presented = 0;     // frames that reached the screen
    int escapeByScan = 0;  // the scan-code Escape was seen
    int result = -1;       // the main loop's result
};

void CountPresent(const uint16_t*, int32_t, int32_t, int32_t, void* user) {
    ++*static_cast<int*>(user);
}

// Starts the show with the given parts failing and draws `frames` frames by hand, the
// scan-code Escape held during the last. If that was not seen, the async Escape is
// pressed. Then the main loop runs to its end.
ShowResult ShowRun(int failures, int frames) {
    ShowFreshProcess();
    HeadlessDisplaySetFailInit(failures & kDisplay ? 1 : 0);
    HeadlessKeyboardSetFail(failures & kKeyboard ? 1 : 0, 0);
    HeadlessWaveSetOpenFails(failures & kMusic ? 1 : 0);
    ShowResult run;
    HeadlessDisplaySetSink(CountPresent, &run.presented);
    AppInit();
    for (int i = 0; i + 1 < frames; ++i) DemoFrame();
    HeadlessKeySet(kDikEscape, 0x80);
    DemoFrame();
    run.escapeByScan = HeadlessPendingMessages() > 0;
    if (!run.escapeByScan) HeadlessEscapeAsyncSet(1);
    run.result = AppMainLoop();
    run.frames = TimelineStateGet()->frameCount;
    HeadlessDisplaySetSink(nullptr, nullptr);
    EXPECT_EQ(HeadlessScreenSaverActive(), 1) << "AppShutdown did not run";
    EXPECT_EQ(HeadlessWaveIsOpen(), failures & kMusic ? 0 : 1);
    StopMusic();
    HeadlessDisplaySetFailInit(0);
    HeadlessKeyboardSetFail(0, 0);
    HeadlessWaveSetOpenFails(0);
    return run;
}

}  // namespace

TEST(EdgePaths, EachFailedStartLeavesItsPartInertAndTheShowRuns) {
    // 40 frames by hand. A working scan-code Escape has queued the destroy message: one
    // more frame, then the quit message. Otherwise the async Escape takes one frame
    // more to be seen. The working run comes first, so that every failing one follows
    // a start that did work.
    const struct {
        int failures;
        int escapeByScan, frames, presented;
    } cases[] = {{kNone, 1, 41, 41},
                 {kDisplay, 1, 41, 0},
                 {kKeyboard, 0, 42, 42},
                 {kMusic, 1, 41, 41},
                 {kDisplay | kKeyboard | kMusic, 0, 42, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.failures);
        const ShowResult run = ShowRun(c.failures, 40);
        EXPECT_EQ(run.result, 0);
        EXPECT_EQ(run.escapeByScan, c.escapeByScan);
        EXPECT_EQ(run.frames, c.frames);
        EXPECT_EQ(run.presented, c.presented);
        if (c.failures & kDisplay) {
            EXPECT_EQ(DisplayBackSurface(), nullptr);
        }
    }
}

TEST(EdgePaths, DisplayFailingAtTheProcessFirstStartDrawsNothing) {
    // ctest runs each test in a process of its own: here the clip rectangle and the
    // surfaces were never set up by a working start.
    const ShowResult run = ShowRun(kDisplay, 200);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.frames, 201);
    EXPECT_EQ(run.presented, 0);
}
