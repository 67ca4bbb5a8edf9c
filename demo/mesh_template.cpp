// Decoding of the mesh templates compiled into the intro.
#include "demo/mesh_template.h"

#include <cmath>
#include <cstring>

#include "display/colour.h"

namespace {

constexpr unsigned long kHeaderBytes = 24;
constexpr unsigned long kVertexBytes = 28;
constexpr unsigned long kPolyBytes = 14;

uint32_t ReadU32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

uint32_t ReadU16(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8);
}

float ReadF32(const unsigned char* p) {
    const uint32_t bits = ReadU32(p);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

}  // namespace

int MeshTemplateRead(const unsigned char* data, unsigned long size, MeshTemplate* out) {
    if (!data || !out || size < kHeaderBytes || std::memcmp(data, "IVM1", 4) != 0) return 0;
    const uint32_t vertices = ReadU32(data + 4);
    const uint32_t polys = ReadU32(data + 8);
    const uint32_t frames = ReadU32(data + 12);
    // Indices are 16-bit; the frame limit only keeps the size arithmetic in range.
    if (vertices == 0 || vertices > 65536 || polys == 0 || polys > 65536 || frames == 0 ||
        frames > 1024)
        return 0;
    const unsigned long radiiBytes = 8ul * frames;
    const unsigned long vertexBytes = kVertexBytes * vertices * frames;
    if (size != kHeaderBytes + radiiBytes + vertexBytes + kPolyBytes * polys) return 0;
    const unsigned char* polyData = data + kHeaderBytes + radiiBytes + vertexBytes;
    for (uint32_t p = 0; p < polys; ++p) {
        for (int k = 0; k < 3; ++k) {
            if (ReadU16(polyData + p * kPolyBytes + 8 + 2 * k) >= vertices) return 0;
        }
    }
    out->numVertices = static_cast<int32_t>(vertices);
    out->numPolys = static_cast<int32_t>(polys);
    out->numFrames = static_cast<int32_t>(frames);
    out->state = ReadU32(data + 16);
    out->attr = ReadU32(data + 20);
    out->radii = data + kHeaderBytes;
    out->vertices = data + kHeaderBytes + radiiBytes;
    out->polys = polyData;
    return 1;
}

int MeshTemplateCopyTo(const MeshTemplate* t, Object3D* obj) {
    if (!t || !obj || obj->numVertices != t->numVertices || obj->numPolys != t->numPolys ||
        obj->numFrames != t->numFrames)
        return 0;
    if (!obj->headVlistLocal || !obj->headVlistTrans || !obj->plist || !obj->tlist ||
        !obj->avgRadius || !obj->maxRadius)
        return 0;
    obj->state = t->state;
    obj->attr = t->attr;
    for (int32_t f = 0; f < t->numFrames; ++f) {
        obj->avgRadius[f] = ReadF32(t->radii + 4 * f);
        obj->maxRadius[f] = ReadF32(t->radii + 4 * (t->numFrames + f));
    }
    const int32_t total = t->numVertices * t->numFrames;
    for (int32_t i = 0; i < total; ++i) {
        const unsigned char* src = t->vertices + i * kVertexBytes;
        Vertex3D v = {};
        v.x = ReadF32(src);
        v.y = ReadF32(src + 4);
        v.z = ReadF32(src + 8);
        v.w = 1.0f;
        v.nx = ReadF32(src + 12);
        v.ny = ReadF32(src + 16);
        v.nz = ReadF32(src + 20);
        v.nw = 0.0f;  // a direction: no translation may reach it
        v.attr = ReadU32(src + 24);
        obj->headVlistLocal[i] = v;
        obj->headVlistTrans[i] = v;
    }
    obj->vlistLocal = obj->headVlistLocal;
    obj->vlistTrans = obj->headVlistTrans;
    obj->currFrame = 0;
    std::memset(obj->tlist, 0, sizeof(float) * 6 * t->numPolys);

    for (int32_t p = 0; p < t->numPolys; ++p) {
        const unsigned char* src = t->polys + p * kPolyBytes;
        const uint32_t colour = ReadU32(src + 4);
        Poly& poly = obj->plist[p];
        poly = Poly{};
        poly.state = kPolyActive;
        poly.attr = ReadU32(src);
        poly.color =
            (colour & 0xFF000000u) | ColourPacker(static_cast<int32_t>((colour >> 16) & 0xFF),
                                                  static_cast<int32_t>((colour >> 8) & 0xFF),
                                                  static_cast<int32_t>(colour & 0xFF));
        poly.vlist = obj->vlistTrans;
        poly.tlist = obj->tlist;
        for (int k = 0; k < 3; ++k) {
            poly.vert[k] = static_cast<int32_t>(ReadU16(src + 8 + 2 * k));
            poly.text[k] = 3 * p + k;
        }
        const Vertex3D& a = obj->vlistLocal[poly.vert[0]];
        const Vertex3D& b = obj->vlistLocal[poly.vert[1]];
        const Vertex3D& c = obj->vlistLocal[poly.vert[2]];
        const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
        const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
        const double nx = uy * vz - uz * vy, ny = -(ux * vz - uz * vx), nz = ux * vy - uy * vx;
        poly.normalLength = static_cast<float>(std::sqrt(nx * nx + ny * ny + nz * nz));
    }
    return 1;
}
