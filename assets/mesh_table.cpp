// The six mesh templates in the order of the objects that are made from them.
#include "assets/assets.h"

const unsigned char* const kMeshTemplates[kMeshTemplateCount] = {
    MeshLogo, MeshLighthouse, MeshAirship, MeshKnot, MeshSun, MeshMoon,
};

const unsigned long kMeshTemplateSizes[kMeshTemplateCount] = {
    MeshLogo_size, MeshLighthouse_size, MeshAirship_size,
    MeshKnot_size, MeshSun_size,        MeshMoon_size,
};
