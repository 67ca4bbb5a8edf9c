// Fill rate of every filler member on a full-screen triangle pair (Mpixels/s), and
// triangles per second for small (about 20-pixel) triangles.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/bench_main.h"
#include "display/display.h"
#include "engine/tables.h"
#include "raster/filler.h"

namespace {

constexpr int32_t kWidth = 640, kHeight = 480;

struct Target {
    std::vector<uint16_t> frame = std::vector<uint16_t>(kWidth * kHeight, 0);
    std::vector<uint32_t> depth = std::vector<uint32_t>(kWidth * kHeight, 0);
    std::vector<uint16_t> texels = std::vector<uint16_t>(256 * 256);
    Texture texture = {256, 256, nullptr};
    Target() {
        LookupTablesInit();
        gClipRectangle = {0, 0, kWidth - 1, kHeight - 1};
        for (size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<uint16_t>(i * 40503u);
        texture.texels = texels.data();
    }
    void ClearDepth(FillerDepth d) {
        std::fill(depth.begin(), depth.end(), d == FillerDepth::kGreater ? 0u : 0xFFFFFFFFu);
    }
};

Target& TheTarget() {
    static Target target;
    return target;
}

struct Corner {
    float x, y, z, u, v;
    uint32_t colour;
};

// A triangle as the render pass prepares it for its member.
RasterDraw Tri(const Corner& a, const Corner& b, const Corner& c, const Texture* texture) {
    RasterDraw tri;
    tri.texture = texture;
    const Corner* cs[3] = {&a, &b, &c};
    for (int k = 0; k < 3; ++k) {
        tri.x[k] = cs[k]->x, tri.y[k] = cs[k]->y, tri.z[k] = cs[k]->z;
        tri.u[k] = cs[k]->u, tri.v[k] = cs[k]->v;
        tri.litColor[k] = cs[k]->colour;
    }
    return tri;
}

void Fill(const FillerMember& m, const RasterDraw& tri, Target& t) {
    m.draw(tri, t.frame.data(), kWidth * 2, t.depth.data(), kWidth * 4, 3, gClipRectangle);
}

void FullScreen(benchmark::State& state) {
    const int32_t number = static_cast<int32_t>(state.range(0));
    const FillerMember& m = FillerMembers[number - 1];
    Target& t = TheTarget();
    const Corner c00 = {0, 0, 100, 0, 0, 0xF800}, c10 = {639, 0, 300, 255, 0, 0x07E0};
    const Corner c11 = {639, 479, 200, 255, 255, 0x001F}, c01 = {0, 479, 150, 0, 255, 0xFFFF};
    const RasterDraw a = Tri(c00, c10, c11, &t.texture), b = Tri(c00, c11, c01, &t.texture);
    for (auto _ : state) {
        if (m.depth != FillerDepth::kNone) {
            state.PauseTiming();
            t.ClearDepth(m.depth);
            state.ResumeTiming();
        }
        Fill(m, a, t);
        Fill(m, b, t);
        benchmark::ClobberMemory();
    }
    state.SetLabel(m.name);
    state.counters["Mpix/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * 639 * 479 / 1e6, benchmark::Counter::kIsRate);
}

// 5372 right triangles of about 21 pixels each, tiled over the screen.
void SmallTriangles(benchmark::State& state) {
    const int32_t number = static_cast<int32_t>(state.range(0));
    const FillerMember& m = FillerMembers[number - 1];
    Target& t = TheTarget();
    std::vector<RasterDraw> tris;
    for (int y = 0; y + 6 < kHeight - 1; y += 7) {
        for (int x = 0; x + 7 < kWidth - 1; x += 8) {
            const float fx = static_cast<float>(x), fy = static_cast<float>(y);
            const float u = static_cast<float>(x % 240), v = static_cast<float>(y % 240);
            tris.push_back(Tri({fx, fy, 100 + fx, u, v, 0xF800},
                               {fx + 7, fy, 110 + fx, u + 7, v, 0x07E0},
                               {fx, fy + 6, 120 + fx, u, v + 6, 0x001F}, &t.texture));
        }
    }
    for (auto _ : state) {
        if (m.depth != FillerDepth::kNone) {
            state.PauseTiming();
            t.ClearDepth(m.depth);
            state.ResumeTiming();
        }
        for (const RasterDraw& tri : tris) Fill(m, tri, t);
        benchmark::ClobberMemory();
    }
    state.SetLabel(m.name);
    state.counters["Mtri/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * tris.size() / 1e6, benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(FullScreen)->DenseRange(1, kFillerCount)->Unit(benchmark::kMicrosecond);
BENCHMARK(SmallTriangles)
    ->Arg(6)
    ->Arg(44)
    ->Arg(7)
    ->Arg(1)
    ->Arg(4)
    ->Arg(5)
    ->Arg(22)
    ->Arg(24)
    ->Arg(25)
    ->Arg(20)
    ->Unit(benchmark::kMicrosecond);

INVITRO_BENCH_MAIN(
    "bench_raster: every filler member's fill rate on a full-screen triangle pair (Mpix/s) and "
    "triangles a second for about 20-pixel triangles");
