// Objects, their transforms and the render list: insertion, capacity, links.
#include "engine/render_list.h"

#include <gtest/gtest.h>

#include <memory>

#include "engine/object3d.h"

namespace {

std::unique_ptr<RenderList> NewList() {
    return std::make_unique<RenderList>();
}

// One triangle over three vertices, everything drawable.
void MakeTriangleObject(Object3D* obj) {
    *obj = {};
    ASSERT_EQ(Object3DInit(obj, 3, 1, 1, 0), 1);
    obj->state = kObjectActive | kObjectVisible;
    for (int i = 0; i < 3; ++i) {
        obj->vlistLocal[i] = {static_cast<float>(i), 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, kVertexPosition};
        obj->vlistTrans[i] = obj->vlistLocal[i];
        obj->vlistTrans[i].y = 100;
    }
    Poly& poly = obj->plist[0];
    poly = {};
    poly.state = kPolyActive;
    poly.attr = kAttrShadeFlat;
    poly.color = 0xAB001234;
    poly.litColor[2] = 77;
    poly.normalLength = 2.5f;
    poly.materialIndex = 9;
    poly.vlist = obj->vlistTrans;
    poly.vert[0] = 2, poly.vert[1] = 0, poly.vert[2] = 1;
}

TEST(Object3D, InitSizesTheListsAndDestroyClearsTheRecord) {
    Object3D obj = {};
    EXPECT_EQ(Object3DDestroy(&obj), 1);  // never initialised: nothing to free
    ASSERT_EQ(Object3DInit(&obj, 10, 4, 3, 0), 1);
    EXPECT_EQ(obj.totalVertices, 30);
    EXPECT_EQ(obj.numFrames, 3);
    EXPECT_EQ(obj.headVlistLocal, obj.vlistLocal);
    EXPECT_EQ(obj.headVlistTrans, obj.vlistTrans);
    EXPECT_EQ(obj.vlistLocal[29].attr, 0u);
    EXPECT_EQ(obj.tlist[4 * 6 - 1], 0.0f);
    ASSERT_EQ(Object3DInit(&obj, 2, 1, 1, 1), 1);  // destroys the first storage
    EXPECT_EQ(obj.totalVertices, 2);
    EXPECT_EQ(Object3DDestroy(&obj), 1);
    EXPECT_EQ(obj.vlistLocal, nullptr);
    EXPECT_EQ(obj.numPolys, 0);
}

TEST(RenderList, InsertionCopiesThePolygonAndItsVerticesAndRefusesTheOverflow) {
    auto list = NewList();
    Object3D obj;
    MakeTriangleObject(&obj);
    ASSERT_EQ(RenderListInsertPoly(list.get(), &obj.plist[0]), 1);
    const RasterTri& tri = list->polyData[0];
    EXPECT_EQ(list->polyPointers[0], &list->polyData[0]);
    EXPECT_EQ(tri.color, 0xAB001234u);
    EXPECT_EQ(tri.litColor[2], 77u);
    EXPECT_EQ(tri.normalLength, 2.5f);
    EXPECT_EQ(tri.vlist[0].x, 2.0f);
    EXPECT_EQ(tri.tvlist[1].x, 0.0f);
    EXPECT_EQ(tri.tvlist[2].y, 100.0f);

    for (int32_t k = 1; k < kRenderListCapacity; ++k) {
        ASSERT_EQ(RenderListInsertPoly(list.get(), &obj.plist[0]), 1);
    }
    EXPECT_EQ(RenderListInsertPoly(list.get(), &obj.plist[0]), 0);
    EXPECT_EQ(RenderListInsertTri(list.get(), &tri), 0);
    EXPECT_EQ(list->numPolys, kRenderListCapacity);
    EXPECT_EQ(list->polyPointers[kRenderListCapacity - 1],
              &list->polyData[kRenderListCapacity - 1]);
    RenderListReset(list.get());
    EXPECT_EQ(list->numPolys, 0);
    Object3DDestroy(&obj);
}

TEST(RenderList, WholeRecordsAreLinkedInInsertionOrder) {
    auto list = NewList();
    RasterTri tri = {};
    tri.next = tri.previous = &tri;
    ASSERT_EQ(RenderListInsertTri(list.get(), &tri), 1);
    ASSERT_EQ(RenderListInsertTri(list.get(), &tri), 1);
    EXPECT_EQ(list->polyData[0].previous, nullptr);
    EXPECT_EQ(list->polyData[0].next, &list->polyData[1]);
    EXPECT_EQ(list->polyData[1].previous, &list->polyData[0]);
    EXPECT_EQ(list->polyData[1].next, nullptr);
}

TEST(RenderList, ObjectInsertionSkipsHiddenObjectsAndUndrawablePolygons) {
    auto list = NewList();
    Object3D obj;
    MakeTriangleObject(&obj);

    obj.state = kObjectActive | kObjectVisible | kObjectCulled;
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 0);
    obj.state = kObjectActive;
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 0);
    EXPECT_EQ(list->numPolys, 0);

    obj.state = kObjectActive | kObjectVisible;
    obj.plist[0].state = kPolyActive | kPolyBackFace;
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 1);
    EXPECT_EQ(list->numPolys, 0);

    Object3DReset(&obj);  // clears the back-face mark
    EXPECT_EQ(obj.plist[0].state, kPolyActive);
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 1), 1);  // local list
    EXPECT_EQ(list->polyData[0].tvlist[0].y, 0.0f);
    EXPECT_EQ(obj.plist[0].vlist, obj.vlistTrans);  // restored
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 1);
    EXPECT_EQ(list->polyData[1].tvlist[0].y, 100.0f);

    obj.plist[0].state = kPolyActive | kPolyClipped;
    Object3DSetColor(&obj, 0x1111);
    EXPECT_EQ(obj.plist[0].color, 0xAB001234u);
    obj.plist[0].state = kPolyActive;
    Object3DSetColor(&obj, 0x1111);
    EXPECT_EQ(obj.plist[0].color, 0x1111u);
    Object3DDestroy(&obj);
}

TEST(Object3D, TransformsMoveNormalsOnlyWhereCarriedAndAddTheWorldPosition) {
    Object3D obj;
    MakeTriangleObject(&obj);
    obj.vlistLocal[0] = {1, 2, 3, 1, 0, 1, 0, 0, 0.25f, 0.5f, 0, kVertexPosition | kVertexNormal};
    obj.vlistLocal[1] = {1, 2, 3, 1, 0, 1, 0, 0, 0, 0, 0, kVertexPosition};
    obj.vlistTrans[1].nx = 42;
    Mat4 m;  // quarter turn about z (x -> y, y -> -x) and a translation
    Mat4Init(&m, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);

    ASSERT_EQ(Object3DTransform(&obj, m, kTransformLocalToTrans, 0, 0), 1);
    const Vertex3D& a = obj.vlistTrans[0];
    EXPECT_EQ(a.x, 8.0f);
    EXPECT_EQ(a.y, 21.0f);
    EXPECT_EQ(a.z, 33.0f);
    EXPECT_EQ(a.nx, -1.0f);  // (0, 1, 0, 0) turned, not translated
    EXPECT_EQ(a.ny, 0.0f);
    EXPECT_EQ(a.u, 0.25f);
    EXPECT_EQ(obj.vlistTrans[1].nx, 42.0f);  // no normal carried: left alone

    obj.worldPos = {100, 200, 300, 1};
    ASSERT_EQ(Object3DModelToWorld(&obj, kTransformTransOnly, 0), 1);
    EXPECT_EQ(obj.vlistTrans[0].x, 108.0f);
    ASSERT_EQ(Object3DModelToWorld(&obj, kTransformLocalToTrans, 0), 1);
    EXPECT_EQ(obj.vlistTrans[0].z, 303.0f);
    EXPECT_EQ(obj.vlistTrans[0].ny, 1.0f);  // normal copied unchanged

    ASSERT_EQ(Object3DTransform(&obj, m, kTransformLocalOnly, 0, 0), 1);
    EXPECT_EQ(obj.vlistLocal[1].x, 8.0f);
    EXPECT_EQ(obj.vlistLocal[1].nx, 0.0f);
    Object3DDestroy(&obj);
}

}  // namespace
