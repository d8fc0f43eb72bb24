#pragma once

#include "quorvex/Export.h"
#include "quorvex/base/BaseTriMesh.h"
#include "quorvex/baseType/Entity.h"
#include "quorvex/baseType/Types.h"

namespace Quorvex {

// A coloured preview of a sliced print: every straight piece of a boundary path becomes a
// vertical wall 1.2 layer thicknesses tall, centred on the path's height, and every piece
// of an extra-shell or fill path a flat ribbon `line_width` wide. Each piece adds four
// unshared vertices, coloured by its two end points, and two faces. Support and raft are
// not drawn; paths whose colours don't match their points one to one are skipped. The
// mesh is cleared first and gets vertex colours. The last argument is not used.
QX_EXPORT RetVal convert_entity_to_baseTriMesh_with_color(const Entity& entity, BaseTriMesh& mesh,
                                                          float line_width, float unused);

}  // namespace Quorvex
