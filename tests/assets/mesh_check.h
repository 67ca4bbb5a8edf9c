// Helpers shared by the asset tests and the preview tool: objects made from the
// compiled-in templates, and the terrain surface under a point.
#pragma once
#include <cstdint>
#include <vector>

#include "demo/mesh_template.h"
#include "engine/object3d.h"

// An Object3D with its lists in vectors, filled from a template as AppInit does.
struct TestObject {
    Object3D obj;
    std::vector<Vertex3D> local, trans;
    std::vector<Poly> polys;
    std::vector<float> tlist, avgRadius, maxRadius;
};

// Reads the template and copies it into `out`. Returns 1 on success.
int TestObjectFromTemplate(const unsigned char* data, unsigned long size, TestObject* out);

// The seven templates with names for messages: the six objects, then the balloon.
struct NamedTemplate {
    const char* name;
    const unsigned char* data;
    unsigned long size;
};
std::vector<NamedTemplate> AllMeshTemplates();

// Height of the terrain's surface (the two triangles of each grid cell) at (x, z),
// or -1 outside the 6000 x 6000 square.
double TerrainGroundHeight(double x, double z);
