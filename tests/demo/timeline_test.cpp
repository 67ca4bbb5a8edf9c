// The scene schedule on the wall clock and the camera paths' continuity.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "demo/timeline.h"

// Runs frames of `step` ms from `start` until `until`, recording each frame's scene.
struct FrameLog {
    std::vector<int> scenes;
    std::vector<SceneCamera> cameras;
};

static FrameLog Frames(uint32_t start, uint32_t until, uint32_t step) {
    FrameLog run;
    for (uint32_t now = start; now < until; now += step) {
        TimelineStart(now);
        TimelineScheduleStep(now);
        run.cameras.push_back(TimelineSceneCamera());
        run.scenes.push_back(TimelineStateGet()->scene);
    }
    return run;
}

TEST(Timeline, FirstFrameIsSceneFourForFifteenSeconds) {
    TimelineReset();
    EXPECT_EQ(TimelineStateGet()->firstFrame, 1);
    TimelineStart(1000);
    EXPECT_EQ(TimelineStateGet()->scene, 4);
    EXPECT_EQ(TimelineStateGet()->sceneDuration, 15000u);
    EXPECT_EQ(TimelineStateGet()->sceneStart, 1000u);
    TimelineStart(2000);  // only the first frame starts the schedule
    EXPECT_EQ(TimelineStateGet()->sceneStart, 1000u);

    // The change happens at the first frame whose elapsed time exceeds the duration.
    TimelineScheduleStep(16000);
    EXPECT_EQ(TimelineStateGet()->scene, 4);
    TimelineScheduleStep(16001);
    EXPECT_EQ(TimelineStateGet()->scene, 0);
    EXPECT_EQ(TimelineStateGet()->wrapped, 1);
    EXPECT_EQ(TimelineStateGet()->sceneStart, 16001u);
}

TEST(Timeline, LateFrameAdvancesOneSceneOnly) {
    TimelineReset();
    TimelineStart(1000);
    TimelineSceneCamera();
    TimelineScheduleStep(1000 + 500000);  // far beyond every duration
    EXPECT_EQ(TimelineStateGet()->scene, 0);
    TimelineSceneCamera();
    TimelineScheduleStep(1000 + 500001);
    EXPECT_EQ(TimelineStateGet()->scene, 0);
}

TEST(Timeline, SceneFourRestartsItsPathOnlyWhenReenteredAfterTheWrap) {
    TimelineReset();
    const FrameLog run = Frames(1000, 1000 + 115000 + 2000, 25);
    // The first visit starts at angle 0: x = 2000 sin(pi), z = 2000 cos(pi).
    EXPECT_NEAR(run.cameras[0].position.x, 0.0f, 0.01f);
    EXPECT_NEAR(run.cameras[0].position.z, -2000.0f, 0.01f);
    EXPECT_EQ(run.cameras[0].uvnMode, 1);
    EXPECT_FLOAT_EQ(run.cameras[0].heading, 0.1f);
    size_t reentry = 0;
    for (size_t i = 1; i < run.scenes.size(); ++i)
        if (run.scenes[i] == 4 && run.scenes[i - 1] == 3) reentry = i;
    ASSERT_GT(reentry, 0u);
    EXPECT_NEAR(run.cameras[reentry].position.x, run.cameras[0].position.x, 1e-3f);
    EXPECT_NEAR(run.cameras[reentry].position.z, run.cameras[0].position.z, 1e-3f);
    EXPECT_FLOAT_EQ(run.cameras[reentry].heading, 0.1f);
    EXPECT_EQ(TimelineStateGet()->wrapped, 0);

    // Scenes 0-3 continue where they left off: scene 1's second visit does not start
    // at angle 0 (x = 3000) but where its first visit ended.
    TimelineReset();
    const FrameLog two = Frames(1000, 1000 + 2 * 115000, 25);
    std::vector<size_t> starts;
    for (size_t i = 1; i < two.scenes.size(); ++i)
        if (two.scenes[i] == 1 && two.scenes[i - 1] == 0) starts.push_back(i);
    ASSERT_EQ(starts.size(), 2u);
    EXPECT_FLOAT_EQ(two.cameras[starts[0]].position.x, 3000.0f);
    EXPECT_GT(std::fabs(two.cameras[starts[1]].position.x - 3000.0f), 10.0f);
}

TEST(Timeline, SkyColourFollowsTheSineOfSkyTime) {
    TimelineReset();
    int32_t r, g, b;
    TimelineSkyAdvance(&r, &g, &b);  // sky time 0.01: 70 + 0.70, 91 + 0.90, 118 + 1.17
    EXPECT_TRUE(r == 70 && g == 91 && b == 119) << r << " " << g << " " << b;
    int32_t minR = 255, maxR = 0, minB = 255, maxB = 0;
    for (int i = 0; i < 700; ++i) {
        TimelineSkyAdvance(&r, &g, &b);
        minR = std::min(minR, r), maxR = std::max(maxR, r);
        minB = std::min(minB, b), maxB = std::max(maxB, b);
    }
    EXPECT_EQ(minR, 0);
    EXPECT_EQ(maxR, 139);  // truncation keeps it just below 140
    EXPECT_GE(minB, 1);
    EXPECT_LE(maxB, 235);
    EXPECT_EQ(TimelineStateGet()->frameCount, 701);
}
