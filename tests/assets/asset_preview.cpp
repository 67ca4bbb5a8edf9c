// Writes PNG previews of the compiled-in content for a person to look at:
//   asset_preview <output directory>
// font_sheet.png, font_text.png, terrain_map.png, mesh_<name>.png, scene_<n>.png.
// The meshes and scenes go through a small software renderer of this tool's own
// (depth buffer, the intro's back-face rule, ambient plus one directional light).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "assets/assets.h"
#include "display/colour.h"
#include "tests/assets/mesh_check.h"
#include "tools/common/png_image.h"

namespace {

struct V3 {
    double x, y, z;
};
V3 operator+(V3 a, V3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
V3 operator-(V3 a, V3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
V3 operator*(V3 a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
double Dot(V3 a, V3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
V3 Cross(V3 u, V3 v) {
    return {u.y * v.z - u.z * v.y, -(u.x * v.z - u.z * v.x), u.x * v.y - u.y * v.x};
}
V3 Normalised(V3 a) {
    return a * (1.0 / std::sqrt(Dot(a, a)));
}

struct Rgb {
    double r, g, b;
};

uint16_t Pack(Rgb c) {
    auto ch = [](double v) { return static_cast<int32_t>(std::clamp(v, 0.0, 255.0)); };
    return PackRGB565(ch(c.r), ch(c.g), ch(c.b));
}

Rgb Unpack(uint32_t p) {
    return {static_cast<double>(((p >> 11) & 31) * 8), static_cast<double>(((p >> 5) & 63) * 4),
            static_cast<double>((p & 31) * 8)};
}

struct Canvas {
    int w, h;
    std::vector<uint16_t> px;
    std::vector<double> depth;
    Canvas(int width, int height, uint16_t fill)
        : w(width), h(height), px(width * height, fill), depth(width * height, 1e30) {}
};

int Save(const Canvas& c, const std::string& path) {
    char error[256] = "";
    if (!PngWriteRgb565(path.c_str(), c.px.data(), c.w, c.h, c.w * 2, error, sizeof error)) {
        std::fprintf(stderr, "asset_preview: %s: %s\n", path.c_str(), error);
        return 0;
    }
    std::printf("wrote %s\n", path.c_str());
    return 1;
}

// A camera looking at a target, with the intro's axes: u right, v up, n forward.
struct View {
    V3 pos, u, v, n;
    double d, aspect;
    int ox, oy, w, h;  // viewport on the canvas
};

View LookAt(V3 pos, V3 target, double fovDegrees, int ox, int oy, int w, int h) {
    View view;
    view.pos = pos;
    view.n = Normalised(target - pos);
    view.u = Normalised(Cross({0, 1, 0}, view.n));
    view.v = Cross(view.n, view.u);
    view.d = 1.0 / std::tan(fovDegrees * 3.14159265358979 / 360.0);
    view.aspect = static_cast<double>(w) / h;
    view.ox = ox;
    view.oy = oy;
    view.w = w;
    view.h = h;
    return view;
}

const V3 kLight = Normalised({-1, 1, -1});
constexpr double kAmbient = 100.0 / 256.0;

double Intensity(V3 normal) {
    return kAmbient + std::max(0.0, Dot(Normalised(normal), kLight));
}

struct ShadedVertex {
    V3 world;
    double light;
};

// Clips a camera-space polygon to z >= near and fills it; colour_at gives the surface
// colour at a world point (textures), light is interpolated (Gouraud) or constant.
template <typename ColourAt>
void DrawTriangle(Canvas& c, const View& view, const ShadedVertex in[3], ColourAt colour_at) {
    const double kNear = 10.0;
    struct Cv {
        V3 cam, world;
        double light;
    };
    Cv poly[8];
    int count = 0;
    Cv src[3];
    for (int i = 0; i < 3; ++i) {
        const V3 rel = in[i].world - view.pos;
        src[i] = {{Dot(rel, view.u), Dot(rel, view.v), Dot(rel, view.n)}, in[i].world, in[i].light};
    }
    for (int i = 0; i < 3; ++i) {
        const Cv& a = src[i];
        const Cv& b = src[(i + 1) % 3];
        if (a.cam.z >= kNear) poly[count++] = a;
        if ((a.cam.z >= kNear) != (b.cam.z >= kNear)) {
            const double t = (kNear - a.cam.z) / (b.cam.z - a.cam.z);
            poly[count++] = {a.cam + (b.cam - a.cam) * t, a.world + (b.world - a.world) * t,
                             a.light + (b.light - a.light) * t};
        }
    }
    if (count < 3) return;
    double sx[8], sy[8];
    const double alpha = 0.5 * view.w - 0.5, beta = 0.5 * view.h - 0.5;
    for (int i = 0; i < count; ++i) {
        sx[i] = view.ox + alpha + alpha * view.d * poly[i].cam.x / poly[i].cam.z;
        sy[i] = view.oy + beta - beta * view.d * view.aspect * poly[i].cam.y / poly[i].cam.z;
    }
    for (int k = 1; k + 1 < count; ++k) {
        const int idx[3] = {0, k, k + 1};
        const double x0 = sx[idx[0]], y0 = sy[idx[0]], x1 = sx[idx[1]], y1 = sy[idx[1]];
        const double x2 = sx[idx[2]], y2 = sy[idx[2]];
        const double area = (x1 - x0) * (y2 - y0) - (x2 - x0) * (y1 - y0);
        if (std::fabs(area) < 1e-9) continue;
        const int minx = std::max(view.ox, static_cast<int>(std::floor(std::min({x0, x1, x2}))));
        const int maxx =
            std::min(view.ox + view.w - 1, static_cast<int>(std::ceil(std::max({x0, x1, x2}))));
        const int miny = std::max(view.oy, static_cast<int>(std::floor(std::min({y0, y1, y2}))));
        const int maxy =
            std::min(view.oy + view.h - 1, static_cast<int>(std::ceil(std::max({y0, y1, y2}))));
        for (int y = miny; y <= maxy; ++y) {
            for (int x = minx; x <= maxx; ++x) {
                const double px = x + 0.5, py = y + 0.5;
                const double w0 = ((x1 - px) * (y2 - py) - (x2 - px) * (y1 - py)) / area;
                const double w1 = ((x2 - px) * (y0 - py) - (x0 - px) * (y2 - py)) / area;
                const double w2 = 1.0 - w0 - w1;
                if (w0 < 0 || w1 < 0 || w2 < 0) continue;
                const Cv& a = poly[idx[0]];
                const Cv& b = poly[idx[1]];
                const Cv& cc = poly[idx[2]];
                const double z = w0 * a.cam.z + w1 * b.cam.z + w2 * cc.cam.z;
                double& depth = c.depth[y * c.w + x];
                if (z >= depth) continue;
                depth = z;
                const V3 world = a.world * w0 + b.world * w1 + cc.world * w2;
                const double light = w0 * a.light + w1 * b.light + w2 * cc.light;
                const Rgb base = colour_at(world);
                c.px[y * c.w + x] = Pack({base.r * light, base.g * light, base.b * light});
            }
        }
    }
}

// An object placed in the world: rotation about y (degrees) then translation.
struct Placement {
    V3 at;
    double yaw;
    int32_t colourOverride;  // -1 = the polygons' own colours
};

void DrawObject(Canvas& c, const View& view, const Object3D& o, const Placement& place) {
    const double a = place.yaw * 3.14159265358979 / 180.0;
    const double ca = std::cos(a), sa = std::sin(a);
    auto turn = [&](double x, double y, double z) {
        return V3{x * ca + z * sa, y, -x * sa + z * ca};
    };
    for (int p = 0; p < o.numPolys; ++p) {
        const Poly& poly = o.plist[p];
        V3 w[3], n[3];
        for (int k = 0; k < 3; ++k) {
            const Vertex3D& v = o.vlistLocal[poly.vert[k]];
            w[k] = turn(v.x, v.y, v.z) + place.at;
            n[k] = turn(v.nx, v.ny, v.nz);
        }
        const V3 face = Cross(w[1] - w[0], w[2] - w[0]);
        if (Dot(face, view.pos - w[0]) <= 0) continue;  // the intro's back-face rule
        ShadedVertex sv[3];
        for (int k = 0; k < 3; ++k) {
            const bool smooth = (poly.attr & kAttrShadeGouraud) != 0;
            sv[k] = {w[k], Intensity(smooth ? n[k] : face)};
        }
        const Rgb colour =
            Unpack(place.colourOverride >= 0 ? static_cast<uint32_t>(place.colourOverride)
                                             : poly.color & 0xFFFF);
        DrawTriangle(c, view, sv, [&](V3) { return colour; });
    }
}

// The terrain as the intro builds it: 64 x 64 vertices, the cell's two triangles,
// Gouraud-lit, white and black squares of the checkerboard (32 across).
void DrawTerrain(Canvas& c, const View& view) {
    const unsigned char* map = TerrainHeightMap + kBitmapHeaderBytes;
    const double step = 6000.0 / 63.0;
    auto pos = [&](int col, int row) {
        return V3{col * step - 3000.0, 1000.0 * map[row * 64 + col] / 255.0, row * step - 3000.0};
    };
    std::vector<V3> normals(64 * 64, V3{0, 0, 0});
    for (int r = 0; r < 63; ++r)
        for (int col = 0; col < 63; ++col) {
            const int b = r * 64 + col;
            const int tris[2][3] = {{b, b + 64, b + 65}, {b, b + 65, b + 1}};
            for (const auto& t : tris) {
                const V3 p0 = pos(t[0] % 64, t[0] / 64), p1 = pos(t[1] % 64, t[1] / 64);
                const V3 p2 = pos(t[2] % 64, t[2] / 64);
                const V3 n = Normalised(Cross(p1 - p0, p2 - p0));
                for (int k : t) normals[k] = normals[k] + n;
            }
        }
    auto checker = [](V3 w) {
        const int tx = static_cast<int>((w.x + 3000.0) / 6000.0 * 255.0) / 8;
        const int tz = static_cast<int>((w.z + 3000.0) / 6000.0 * 255.0) / 8;
        return ((tx + tz) & 1) ? Rgb{235, 235, 235} : Rgb{40, 40, 40};
    };
    for (int r = 0; r < 63; ++r)
        for (int col = 0; col < 63; ++col) {
            const int b = r * 64 + col;
            const int tris[2][3] = {{b, b + 64, b + 65}, {b, b + 65, b + 1}};
            for (const auto& t : tris) {
                ShadedVertex sv[3];
                for (int k = 0; k < 3; ++k)
                    sv[k] = {pos(t[k] % 64, t[k] / 64), Intensity(normals[t[k]])};
                if (Dot(Cross(sv[1].world - sv[0].world, sv[2].world - sv[0].world),
                        view.pos - sv[0].world) <= 0)
                    continue;
                DrawTriangle(c, view, sv, checker);
            }
        }
}

void Blit(Canvas& c, int cell, int x, int y) {
    const int x0 = (cell & 15) * 49 + 1, y0 = (cell >> 4) * 43 + 1;
    for (int j = 0; j < 42; ++j)
        for (int i = 0; i < 48; ++i) {
            const unsigned char* p =
                FontImage + kBitmapHeaderBytes + (y0 + j) * 1600 + (x0 + i) * 2;
            const uint16_t v = static_cast<uint16_t>(p[0] | (p[1] << 8));
            if (v && x + i >= 0 && x + i < c.w && y + j >= 0 && y + j < c.h)
                c.px[(y + j) * c.w + x + i] = v;
        }
}

int DrawText(Canvas& c, const char* text, int length, int x, int y) {
    for (int i = 0; i < length; ++i) Blit(c, static_cast<unsigned char>(text[i]), x + 20 * i, y);
    return 20 * length;
}

uint16_t Sky(double s) {
    return Pack({70 + 70 * s, 91 + 90 * s, 118 + 117 * s});
}

int FontPreviews(const std::string& dir) {
    Canvas sheet(800, 694, PackRGB565(60, 70, 90));
    for (int y = 0; y < 694; ++y)
        for (int x = 0; x < 800; ++x) {
            const unsigned char* p = FontImage + kBitmapHeaderBytes + y * 1600 + x * 2;
            const uint16_t v = static_cast<uint16_t>(p[0] | (p[1] << 8));
            if (v)
                sheet.px[y * 800 + x] = v;
            else if (x % 49 == 0 || y % 43 == 0)
                sheet.px[y * 800 + x] = PackRGB565(25, 25, 30);
        }
    // The info line at its resting place and the whole scroller message folded into
    // 32-character rows (a screen's width), over the brightest and the darkest sky.
    Canvas screen(640, 940, Sky(0.6));
    for (int y = 470; y < 940; ++y)
        for (int x = 0; x < 640; ++x) screen.px[y * 640 + x] = Sky(-0.9);
    const int width = static_cast<int>(std::strlen(kFestivalInfoLines[0])) * 20;
    DrawText(screen, kFestivalInfoLines[0], static_cast<int>(std::strlen(kFestivalInfoLines[0])),
             (640 - width) / 2, 10);
    for (int row = 0; row * 32 < kScrollerTextLength; ++row)
        DrawText(screen, kScrollerText + row * 32, std::min(32, kScrollerTextLength - row * 32), 0,
                 56 + row * 44);
    return Save(sheet, dir + "/font_sheet.png") && Save(screen, dir + "/font_text.png");
}

// Top view of the height map, shaded, with the ground tracks of the cameras: scenes
// 1 and 2 (circle of 3000), 4 (circle of 2000), 3 (the cross) and 0 (its first
// 4000 frames, dots, red where it flies lowest).
int TerrainPreview(const std::string& dir) {
    Canvas c(640, 640, PackRGB565(0, 0, 0));
    auto toImage = [](double x, double z, int* ix, int* iy) {
        *ix = static_cast<int>((x + 3500.0) / 7000.0 * 640.0);
        *iy = static_cast<int>((3500.0 - z) / 7000.0 * 640.0);
    };
    for (int iy = 0; iy < 640; ++iy)
        for (int ix = 0; ix < 640; ++ix) {
            const double x = ix / 640.0 * 7000.0 - 3500.0, z = 3500.0 - iy / 640.0 * 7000.0;
            const double h = TerrainGroundHeight(x, z);
            if (h < 0) continue;
            const double e = 10.0;
            const V3 n = Cross({0, TerrainGroundHeight(x, z + e) - h, e},
                               {e, TerrainGroundHeight(x + e, z) - h, 0});
            const double light = Intensity(n);
            const double t = h / 400.0;
            const Rgb base = {60 + 150 * t, 110 + 80 * t, 50 + 40 * t};
            c.px[iy * 640 + ix] = Pack({base.r * light, base.g * light, base.b * light});
        }
    auto dot = [&](double x, double z, uint16_t colour) {
        int ix, iy;
        toImage(x, z, &ix, &iy);
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if (ix + dx >= 0 && ix + dx < 640 && iy + dy >= 0 && iy + dy < 640)
                    c.px[(iy + dy) * 640 + ix + dx] = colour;
    };
    for (double u = 0; u < 6.2832; u += 0.01) {
        dot(3000 * std::cos(u), 3000 * std::sin(u), PackRGB565(255, 255, 255));
        dot(2000 * std::sin(u), 2000 * std::cos(u), PackRGB565(120, 200, 255));
    }
    float p = 0, q = 0, r = 0;
    for (int frame = 0; frame < 4000; frame += 2) {
        const double y = 1400 + 900 * std::cos(r);
        dot(3000 * std::cos(p) + 500 * std::sin(2 * q + 0.125),
            3000 * std::sin(q) + 700 * std::cos(1.7 * p + 46.056),
            y < 800 ? PackRGB565(255, 40, 40) : PackRGB565(255, 220, 0));
        p += 0.03256f * 2;
        q += 0.04654f * 2;
        r += 0.0156f * 2;
    }
    for (int k = -6; k <= 6; ++k) {
        dot(1773.18 + 10 * k, 945.69, PackRGB565(255, 0, 255));
        dot(1773.18, 945.69 + 10 * k, PackRGB565(255, 0, 255));
    }
    dot(kLandmarkHillX, kLandmarkHillZ, PackRGB565(0, 0, 0));
    return Save(c, dir + "/terrain_map.png");
}

int MeshPreviews(const std::string& dir) {
    static const int32_t kInstanceColours[8][3] = {{200, 200, 255}, {220, 220, 220}, {255, 12, 12},
                                                   {255, 255, 200}, {200, 24, 12},   {255, 211, 90},
                                                   {200, 200, 0},   {180, 200, 10}};
    for (const NamedTemplate& named : AllMeshTemplates()) {
        TestObject t;
        if (!TestObjectFromTemplate(named.data, named.size, &t)) {
            std::fprintf(stderr, "asset_preview: the %s template does not read\n", named.name);
            return 0;
        }
        // Aim at the middle of the bounding box, from far enough to see all of it.
        V3 lo = {1e30, 1e30, 1e30}, hi = {-1e30, -1e30, -1e30};
        for (int i = 0; i < t.obj.numVertices; ++i) {
            const Vertex3D& v = t.obj.vlistLocal[i];
            lo = {std::min(lo.x, double(v.x)), std::min(lo.y, double(v.y)),
                  std::min(lo.z, double(v.z))};
            hi = {std::max(hi.x, double(v.x)), std::max(hi.y, double(v.y)),
                  std::max(hi.z, double(v.z))};
        }
        const V3 middle = (lo + hi) * 0.5;
        const double radius = std::sqrt(Dot(hi - lo, hi - lo)) * 0.5;
        Canvas c(960, 320, PackRGB565(70, 91, 118));
        const V3 dirs[3] = {{0.15, 0.25, -1.0}, {1.0, 0.45, 0.35}, {-0.7, 0.9, 0.8}};
        const bool balloon = std::string(named.name) == "balloon";
        for (int panel = 0; panel < 3; ++panel) {
            const double distance = radius * (balloon ? 3.4 : 1.05) / std::tan(0.35);
            const View view = LookAt(middle + Normalised(dirs[panel]) * distance, middle, 40.0,
                                     panel * 320, 0, 320, 320);
            if (!balloon) {
                DrawObject(c, view, t.obj, {{0, 0, 0}, 0.0, -1});
                continue;
            }
            for (int i = 0; i < 8; ++i) {
                const double a = i * 3.14159265358979 / 4;
                const int32_t* rgb = kInstanceColours[i];
                DrawObject(c, view, t.obj,
                           {{380 * std::cos(a), 120.0 * (i % 3) - 120.0, 380 * std::sin(a)},
                            20.0 * i,
                            PackRGB565(rgb[0], rgb[1], rgb[2])});
            }
        }
        if (!Save(c, dir + "/mesh_" + named.name + ".png")) return 0;
    }
    return 1;
}

// Whole scenes with the objects where this tool puts them (the show moves them its
// own way): the logo over the basin, the lighthouse on its hill, the others around.
int ScenePreviews(const std::string& dir) {
    std::vector<TestObject> objects(AllMeshTemplates().size());
    const auto all = AllMeshTemplates();
    for (size_t i = 0; i < all.size(); ++i)
        if (!TestObjectFromTemplate(all[i].data, all[i].size, &objects[i])) return 0;
    struct Shot {
        const char* name;
        V3 camera;
        double sky;
        bool day;
    };
    const Shot shots[] = {
        {"scene0_low",
         {3000 * std::cos(2.2) + 500 * std::sin(2 * 0.6 + 0.125), 560,
          3000 * std::sin(0.6) + 700 * std::cos(1.7 * 2.2 + 46.056)},
         0.8,
         true},
        {"scene1",
         {3000 * std::cos(4.0), 3400 + 500 * std::cos(4.0), 3000 * std::sin(4.0)},
         -0.7,
         false},
        {"scene3", {1773.18, 860.0, 945.69}, 0.3, true},
        {"scene4",
         {2000 * std::sin(0.8 + 3.14159265), 1500, 2000 * std::cos(0.8 + 3.14159265)},
         -0.2,
         false},
    };
    for (const Shot& shot : shots) {
        Canvas c(640, 480, Sky(shot.sky));
        const View view = LookAt(shot.camera, {0, 0, 0}, 80.0, 0, 0, 640, 480);
        DrawTerrain(c, view);
        const double facing = std::atan2(shot.camera.x, -shot.camera.z) * -180.0 / 3.14159265;
        DrawObject(c, view, objects[0].obj, {{0, 330, 0}, facing, -1});
        DrawObject(c, view, objects[1].obj,
                   {{kLandmarkHillX, kLandmarkHillY, kLandmarkHillZ}, 0, -1});
        DrawObject(c, view, objects[2].obj, {{1300, 1250, -500}, 30, -1});
        DrawObject(c, view, objects[3].obj, {{-1100, 900, -1200}, 0, -1});
        DrawObject(c, view, objects[shot.day ? 4 : 5].obj, {{400, 2000, 1900}, 0, -1});
        for (int i = 0; i < 8; ++i) {
            const double a = i * 3.14159265358979 / 4 + 0.3;
            DrawObject(c, view, objects[6].obj,
                       {{1500 * std::cos(a), 800.0 + 90 * (i % 4), 1500 * std::sin(a)},
                        0,
                        PackRGB565(255 - 20 * i, 60 + 25 * i, 200 - 20 * i)});
        }
        if (!Save(c, dir + "/" + shot.name + ".png")) return 0;
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: asset_preview <output directory>\n");
        return 2;
    }
    const std::string dir = argv[1];
    if (!FontPreviews(dir) || !TerrainPreview(dir) || !MeshPreviews(dir) || !ScenePreviews(dir))
        return 1;
    return 0;
}
