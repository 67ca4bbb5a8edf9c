// Objects, their transforms and the render list: insertion, capacity, links.
#include "engine/render_list.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// One drawable triangle (vertices 2, 0, 1) over a transformed list lifted to y = 100.
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
    poly = {kPolyActive,     kAttrShadeFlat, 0xAB001234, {0, 0, 77}, nullptr, 9,
            obj->vlistTrans, nullptr,        {2, 0, 1},  {0, 0, 0},  2.5f};
}

TEST(Object3D, InitSizesTheListsAndDestroyClearsTheRecord) {
    Object3D obj = {};
    EXPECT_EQ(Object3DDestroy(&obj), 1);  // never initialised: nothing to free
    ASSERT_EQ(Object3DInit(&obj, 10, 4, 3, 0), 1);
    EXPECT_EQ(obj.totalVertices, 30);
    EXPECT_EQ(obj.headVlistTrans, obj.vlistTrans);
    EXPECT_EQ(obj.tlist[4 * 6 - 1], 0.0f);
    ASSERT_EQ(Object3DInit(&obj, 2, 1, 1, 1), 1);  // frees the first storage
    Object3DDestroy(&obj);
    EXPECT_TRUE(obj.vlistLocal == nullptr && obj.numPolys == 0);
}

TEST(RenderList, InsertionNotesPolygonsTheFirstPassWritesThemLinksAndRefusesTheOverflow) {
    auto list = std::make_unique<RenderList>();
    Object3D obj;
    MakeTriangleObject(&obj);
    // The record is written from the polygon, with the vertex list it was inserted with,
    // only when the first pass comes to it.
    obj.plist[0].vlist = obj.vlistLocal;
    ASSERT_EQ(RenderListInsertPoly(list.get(), &obj.plist[0]), 1);
    ASSERT_EQ(RenderListInsertObject(list.get(), &obj, 0), 1);
    obj.plist[0].vlist = obj.vlistTrans;
    const RasterTri& tri = list->polyData[0];
    EXPECT_TRUE(list->numPolys == 2 && tri.color == 0);
    RenderListRecordsWrite(list.get(), 1, 2);
    EXPECT_TRUE(tri.color == 0 && list->polyData[1].tvlist[2].y == 100);
    RenderListRecordsWrite(list.get(), 0, 1);
    EXPECT_EQ(list->polyPointers[0], &tri);
    EXPECT_TRUE(tri.color == 0xAB001234u && tri.litColor[2] == 77 && tri.normalLength == 2.5f);
    EXPECT_TRUE(tri.vlist[0].x == 2 && tri.tvlist[1].x == 0 && tri.tvlist[2].y == 0);

    ASSERT_EQ(RenderListInsertTri(list.get(), &tri), 1);
    EXPECT_EQ(list->polyData[2].previous, &list->polyData[1]);
    EXPECT_EQ(list->polyData[1].next, &list->polyData[2]);
    EXPECT_EQ(list->polyData[2].next, nullptr);
    list->polyData[2].color = 5;
    RenderListRecordsWrite(list.get(), 0, 3);  // a whole record is not rewritten
    EXPECT_EQ(list->polyData[2].color, 5u);

    while (list->numPolys < kRenderListCapacity) RenderListInsertPoly(list.get(), &obj.plist[0]);
    EXPECT_EQ(RenderListInsertPoly(list.get(), &obj.plist[0]), 0);
    EXPECT_EQ(RenderListInsertTri(list.get(), &tri), 0);
    EXPECT_EQ(list->numPolys, kRenderListCapacity);
    Object3DDestroy(&obj);
}

TEST(RenderList, ObjectInsertionSkipsHiddenObjectsAndUndrawablePolygons) {
    auto list = std::make_unique<RenderList>();
    Object3D obj;
    MakeTriangleObject(&obj);
    obj.state = kObjectActive | kObjectVisible | kObjectCulled;
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 0);
    obj.state = kObjectActive;
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 0);
    obj.state = kObjectActive | kObjectVisible;
    obj.plist[0].state = kPolyActive | kPolyBackFace;
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 0), 1);
    EXPECT_EQ(list->numPolys, 0);

    Object3DReset(&obj);                                        // clears the back-face mark
    EXPECT_EQ(RenderListInsertObject(list.get(), &obj, 1), 1);  // from the local list
    RenderListRecordsWrite(list.get(), 0, 1);
    EXPECT_EQ(list->polyData[0].tvlist[0].y, 0.0f);
    EXPECT_EQ(obj.plist[0].vlist, obj.vlistTrans);

    obj.plist[0].state = kPolyActive | kPolyClipped;
    Object3DSetColor(&obj, 0x1111);
    EXPECT_EQ(obj.plist[0].color, 0xAB001234u);
    Object3DDestroy(&obj);
}

TEST(Object3D, TransformsMoveNormalsOnlyWhereCarriedAndAddTheWorldPosition) {
    Object3D obj;
    MakeTriangleObject(&obj);
    obj.vlistLocal[0] = {1, 2, 3, 1, 0, 1, 0, 0, 0.25f, 0, 0, kVertexPosition | kVertexNormal};
    obj.vlistLocal[1] = {1, 2, 3, 1, 0, 1, 0, 0, 0, 0, 0, kVertexPosition};
    obj.vlistTrans[1].nx = 42;
    Mat4 m;  // quarter turn about z (x -> y, y -> -x) and a translation
    Mat4Init(&m, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);

    ASSERT_EQ(Object3DTransform(&obj, m, kTransformLocalToTrans, 0, 0), 1);
    const Vertex3D& a = obj.vlistTrans[0];
    EXPECT_TRUE(a.x == 8 && a.y == 21 && a.z == 33 && a.u == 0.25f);
    EXPECT_TRUE(a.nx == -1 && a.ny == 0);    // (0, 1, 0, 0) turned, not translated
    EXPECT_EQ(obj.vlistTrans[1].nx, 42.0f);  // no normal carried: left alone

    obj.worldPos = {100, 200, 300, 1};
    Object3DModelToWorld(&obj, kTransformTransOnly, 0);
    EXPECT_EQ(obj.vlistTrans[0].x, 108.0f);
    Object3DModelToWorld(&obj, kTransformLocalToTrans, 0);
    EXPECT_TRUE(obj.vlistTrans[0].z == 303 && obj.vlistTrans[0].ny == 1);
    Object3DDestroy(&obj);
}

}  // namespace
