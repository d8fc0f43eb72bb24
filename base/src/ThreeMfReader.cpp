#include <glog/logging.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

// lib3mf's C interface defines Windows-style typedefs and macros globally: it stays inside
// this file.
#include <Model/COM/NMR_DLLInterfaces.h>

#include "ThreeMfComponentScan.h"
#include "quorvex/base/MeshReaders.h"

namespace Quorvex {

namespace {

using NMR::PLib3MFBase;

// Largest placed mesh this reader builds. Components let a small file place one object
// many times over; the limits keep such a file from asking for more memory than a slicer
// can give: 3.2 GB of faces and normals at the triangle limit, and at most as much again of
// vertices, three per triangle, as a mesh that shares no corner has.
constexpr std::uint64_t kMaxPlacedTriangles = std::uint64_t{1} << 27;
constexpr std::uint64_t kMaxPlacedVertices = 3 * kMaxPlacedTriangles;
// Objects visited while expanding the build, empty ones included.
constexpr std::uint64_t kMaxPlacements = std::uint64_t{1} << 24;
// Components reference only objects defined before them, so nesting this deep means a
// broken file.
constexpr int kMaxDepth = 64;

// Owns one lib3mf out-handle and releases it exactly once.
class Lib3mfHandle {
 public:
  Lib3mfHandle() = default;
  Lib3mfHandle(const Lib3mfHandle&) = delete;
  Lib3mfHandle& operator=(const Lib3mfHandle&) = delete;
  ~Lib3mfHandle() { reset(); }

  PLib3MFBase* get() const { return p_; }
  PLib3MFBase** out() {
    reset();
    return &p_;
  }
  void reset() {
    if (p_ != nullptr) NMR::lib3mf_release(p_);
    p_ = nullptr;
  }

 private:
  PLib3MFBase* p_ = nullptr;
};

std::string lib3mf_reason(PLib3MFBase* handle) {
  if (handle == nullptr) return "no reason given";
  DWORD code = 0;
  LPCSTR message = nullptr;
  if (NMR::lib3mf_getlasterror(handle, &code, &message) != LIB3MF_OK) return "no reason given";
  std::string reason = "error " + std::to_string(code);
  if (message != nullptr && *message != '\0') reason += std::string(": ") + message;
  return reason;
}

// p' = M[:, 0..2] p + M[:, 3], in double so that nested transforms do not round at every
// level.
struct Affine {
  double m[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};

  static Affine from(const NMR::MODELTRANSFORM& t) {
    Affine a;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 4; ++c) a.m[r][c] = t.m_fFields[r][c];
    }
    return a;
  }
  // this after inner: (this * inner)(p) = this(inner(p)).
  Affine then_inner(const Affine& inner) const {
    Affine out;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 4; ++c) {
        double v = c == 3 ? m[r][3] : 0.0;
        for (int k = 0; k < 3; ++k) v += m[r][k] * inner.m[k][c];
        out.m[r][c] = v;
      }
    }
    return out;
  }
};

double millimetres_per_unit(DWORD unit) {
  switch (unit) {
    case NMR::MODELUNIT_MICROMETER:
      return 0.001;
    case NMR::MODELUNIT_MILLIMETER:
      return 1.0;
    case NMR::MODELUNIT_CENTIMETER:
      return 10.0;
    case NMR::MODELUNIT_INCH:
      return 25.4;
    case NMR::MODELUNIT_FOOT:
      return 304.8;
    case NMR::MODELUNIT_METER:
      return 1000.0;
    default:
      return 0.0;
  }
}

std::uint64_t saturating_add(std::uint64_t a, std::uint64_t b) {
  return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

enum class ObjectKind { kMesh, kComponents };

// Expands the build of a read model into one vertex and face list.
class BuildExpander {
 public:
  BuildExpander(PLib3MFBase* model, const std::string& what, bool apply_transforms, double scale)
      : model_(model), what_(what), apply_transforms_(apply_transforms), scale_(scale) {}

  // Reads the build items; false (logged) on failure.
  bool read_build_items();
  // Counts what the build places, then places it. Returns a reader value.
  int expand();

  const std::vector<Vector3f>& vertices() const { return vertices_; }
  const std::vector<BaseTriFace>& faces() const { return faces_; }

 private:
  struct Item {
    DWORD object_id;
    Affine transform;
  };
  struct Totals {
    std::uint64_t vertices = 0;
    std::uint64_t triangles = 0;
    std::uint64_t placements = 0;
  };

  bool fail(const std::string& why, PLib3MFBase* handle) {
    LOG(ERROR) << what_ << ": " << why << " (" << lib3mf_reason(handle) << ")";
    return false;
  }
  bool kind_of(DWORD id, ObjectKind& kind);
  // Opens mesh object `id` with its vertex and triangle counts; false (logged) on failure.
  bool open_mesh(DWORD id, Lib3mfHandle& mesh, DWORD& vertex_count, DWORD& triangle_count);
  // Opens components object `id` with its component count; false (logged) on failure.
  bool open_components(DWORD id, Lib3mfHandle& components, DWORD& component_count);
  bool count(DWORD id, int depth, Totals& totals);
  bool place(DWORD id, const Affine& transform, int depth);
  bool place_mesh(DWORD id, const Affine& transform);

  PLib3MFBase* model_;
  const std::string& what_;
  bool apply_transforms_;
  double scale_;
  std::vector<Item> items_;
  std::map<DWORD, Totals> counted_;
  std::vector<Vector3f> vertices_;
  std::vector<BaseTriFace> faces_;
};

bool BuildExpander::read_build_items() {
  Lib3mfHandle iterator;
  if (NMR::lib3mf_model_getbuilditems(model_, iterator.out()) != LIB3MF_OK) {
    return fail("cannot list the build items", model_);
  }
  for (;;) {
    BOOL has_next = false;
    if (NMR::lib3mf_builditemiterator_movenext(iterator.get(), &has_next) != LIB3MF_OK) {
      return fail("cannot walk the build items", iterator.get());
    }
    if (!has_next) return true;
    Lib3mfHandle item;
    if (NMR::lib3mf_builditemiterator_getcurrent(iterator.get(), item.out()) != LIB3MF_OK) {
      return fail("cannot get a build item", iterator.get());
    }
    Item entry;
    BOOL has_transform = false;
    NMR::MODELTRANSFORM t;
    if (NMR::lib3mf_builditem_getobjectresourceid(item.get(), &entry.object_id) != LIB3MF_OK ||
        NMR::lib3mf_builditem_hasobjecttransform(item.get(), &has_transform) != LIB3MF_OK) {
      return fail("cannot read a build item", item.get());
    }
    if (has_transform && apply_transforms_) {
      if (NMR::lib3mf_builditem_getobjecttransform(item.get(), &t) != LIB3MF_OK) {
        return fail("cannot read the transform of a build item", item.get());
      }
      entry.transform = Affine::from(t);
    }
    items_.push_back(entry);
  }
}

bool BuildExpander::kind_of(DWORD id, ObjectKind& kind) {
  Lib3mfHandle resource;
  if (NMR::lib3mf_model_getresourcebyid(model_, id, resource.out()) != LIB3MF_OK) {
    return fail("names the missing object " + std::to_string(id), model_);
  }
  BOOL is_mesh = false;
  BOOL is_components = false;
  if (NMR::lib3mf_object_ismeshobject(resource.get(), &is_mesh) != LIB3MF_OK ||
      NMR::lib3mf_object_iscomponentsobject(resource.get(), &is_components) != LIB3MF_OK) {
    return fail("resource " + std::to_string(id) + " is not an object", resource.get());
  }
  if (is_mesh) {
    kind = ObjectKind::kMesh;
  } else if (is_components) {
    kind = ObjectKind::kComponents;
  } else {
    return fail("object " + std::to_string(id) + " is neither a mesh nor components", nullptr);
  }
  return true;
}

// Totals of one object as placed, memoised: shared sub-objects are counted once however
// often they are placed, so a file built to explode costs only its own size here.
bool BuildExpander::count(DWORD id, int depth, Totals& totals) {
  const auto found = counted_.find(id);
  if (found != counted_.end()) {
    totals = found->second;
    return true;
  }
  if (depth > kMaxDepth)
    return fail("components nest deeper than " + std::to_string(kMaxDepth), nullptr);
  ObjectKind kind;
  if (!kind_of(id, kind)) return false;
  Totals own;
  own.placements = 1;
  if (kind == ObjectKind::kMesh) {
    Lib3mfHandle mesh;
    DWORD vertex_count = 0;
    DWORD triangle_count = 0;
    if (!open_mesh(id, mesh, vertex_count, triangle_count)) return false;
    own.vertices = vertex_count;
    own.triangles = triangle_count;
  } else {
    Lib3mfHandle components;
    DWORD component_count = 0;
    if (!open_components(id, components, component_count)) return false;
    for (DWORD k = 0; k < component_count; ++k) {
      Lib3mfHandle component;
      DWORD child = 0;
      if (NMR::lib3mf_componentsobject_getcomponent(components.get(), k, component.out()) !=
              LIB3MF_OK ||
          NMR::lib3mf_component_getobjectresourceid(component.get(), &child) != LIB3MF_OK) {
        return fail("cannot read a component of object " + std::to_string(id), components.get());
      }
      Totals sub;
      if (!count(child, depth + 1, sub)) return false;
      own.vertices = saturating_add(own.vertices, sub.vertices);
      own.triangles = saturating_add(own.triangles, sub.triangles);
      own.placements = saturating_add(own.placements, sub.placements);
    }
  }
  counted_[id] = own;
  totals = own;
  return true;
}

bool BuildExpander::open_mesh(DWORD id, Lib3mfHandle& mesh, DWORD& vertex_count,
                              DWORD& triangle_count) {
  if (NMR::lib3mf_model_getmeshobjectbyid(model_, id, mesh.out()) != LIB3MF_OK ||
      NMR::lib3mf_meshobject_getvertexcount(mesh.get(), &vertex_count) != LIB3MF_OK ||
      NMR::lib3mf_meshobject_gettrianglecount(mesh.get(), &triangle_count) != LIB3MF_OK) {
    return fail("cannot read mesh object " + std::to_string(id), model_);
  }
  return true;
}

bool BuildExpander::open_components(DWORD id, Lib3mfHandle& components, DWORD& component_count) {
  if (NMR::lib3mf_model_getcomponentsobjectbyid(model_, id, components.out()) != LIB3MF_OK ||
      NMR::lib3mf_componentsobject_getcomponentcount(components.get(), &component_count) !=
          LIB3MF_OK) {
    return fail("cannot read components object " + std::to_string(id), model_);
  }
  return true;
}

bool BuildExpander::place_mesh(DWORD id, const Affine& transform) {
  Lib3mfHandle mesh;
  DWORD vertex_count = 0;
  DWORD triangle_count = 0;
  if (!open_mesh(id, mesh, vertex_count, triangle_count)) return false;
  std::vector<NMR::MODELMESHVERTEX> vertices(vertex_count);
  std::vector<NMR::MODELMESHTRIANGLE> triangles(triangle_count);
  DWORD written = 0;
  if (vertex_count > 0 && (NMR::lib3mf_meshobject_getvertices(
                               mesh.get(), vertices.data(), vertex_count, &written) != LIB3MF_OK ||
                           written != vertex_count)) {
    return fail("cannot read the vertices of mesh object " + std::to_string(id), mesh.get());
  }
  if (triangle_count > 0 &&
      (NMR::lib3mf_meshobject_gettriangleindices(mesh.get(), triangles.data(), triangle_count,
                                                 &written) != LIB3MF_OK ||
       written != triangle_count)) {
    return fail("cannot read the triangles of mesh object " + std::to_string(id), mesh.get());
  }
  const auto first = static_cast<std::int64_t>(vertices_.size());
  for (const NMR::MODELMESHVERTEX& v : vertices) {
    Vector3f p;
    for (int r = 0; r < 3; ++r) {
      const double placed = transform.m[r][0] * v.m_fPosition[0] +
                            transform.m[r][1] * v.m_fPosition[1] +
                            transform.m[r][2] * v.m_fPosition[2] + transform.m[r][3];
      // The unit scales the placed position, so translations are scaled with the vertices.
      p[r] = static_cast<float>(placed * scale_);
    }
    vertices_.push_back(p);
  }
  for (const NMR::MODELMESHTRIANGLE& t : triangles) {
    int corner[3];
    for (int c = 0; c < 3; ++c) {
      if (t.m_nIndices[c] >= vertex_count) {
        return fail("mesh object " + std::to_string(id) + " has a triangle index out of range",
                    nullptr);
      }
      corner[c] = static_cast<int>(first + t.m_nIndices[c]);
    }
    faces_.emplace_back(corner[0], corner[1], corner[2]);
  }
  return true;
}

bool BuildExpander::place(DWORD id, const Affine& transform, int depth) {
  if (depth > kMaxDepth)
    return fail("components nest deeper than " + std::to_string(kMaxDepth), nullptr);
  ObjectKind kind;
  if (!kind_of(id, kind)) return false;
  if (kind == ObjectKind::kMesh) return place_mesh(id, transform);

  Lib3mfHandle components;
  DWORD component_count = 0;
  if (!open_components(id, components, component_count)) return false;
  for (DWORD k = 0; k < component_count; ++k) {
    Lib3mfHandle component;
    DWORD child = 0;
    BOOL has_transform = false;
    if (NMR::lib3mf_componentsobject_getcomponent(components.get(), k, component.out()) !=
            LIB3MF_OK ||
        NMR::lib3mf_component_getobjectresourceid(component.get(), &child) != LIB3MF_OK ||
        NMR::lib3mf_component_hastransform(component.get(), &has_transform) != LIB3MF_OK) {
      return fail("cannot read a component of object " + std::to_string(id), components.get());
    }
    Affine child_transform = transform;
    if (has_transform && apply_transforms_) {
      NMR::MODELTRANSFORM t;
      if (NMR::lib3mf_component_gettransform(component.get(), &t) != LIB3MF_OK) {
        return fail("cannot read a component transform of object " + std::to_string(id),
                    component.get());
      }
      child_transform = transform.then_inner(Affine::from(t));
    }
    if (!place(child, child_transform, depth + 1)) return false;
  }
  return true;
}

int BuildExpander::expand() {
  Totals all;
  for (const Item& item : items_) {
    Totals sub;
    if (!count(item.object_id, 0, sub)) return kBaseReadCorrupt;
    all.vertices = saturating_add(all.vertices, sub.vertices);
    all.triangles = saturating_add(all.triangles, sub.triangles);
    all.placements = saturating_add(all.placements, sub.placements);
  }
  if (all.vertices > kMaxPlacedVertices || all.triangles > kMaxPlacedTriangles ||
      all.placements > kMaxPlacements) {
    LOG(ERROR) << what_ << ": the build places " << all.triangles << " triangles and "
               << all.vertices << " vertices in " << all.placements
               << " objects, beyond what this reader expands";
    return kBaseReadCorrupt;
  }
  if (all.triangles == 0) {
    LOG(ERROR) << what_ << ": the build places no mesh";
    return kBaseReadNoMesh;
  }
  vertices_.reserve(static_cast<std::size_t>(all.vertices));
  faces_.reserve(static_cast<std::size_t>(all.triangles));
  for (const Item& item : items_) {
    if (!place(item.object_id, item.transform, 0)) return kBaseReadCorrupt;
  }
  return 0;
}

int read_3mf_model(const std::string& path, BaseTriMesh& mesh, bool apply_transforms,
                   bool to_millimetres) {
  const std::string what = "3MF file " + path;
  if (!std::ifstream(path, std::ios::binary).is_open()) {
    LOG(ERROR) << "file " << path << " not exist!";
    return 2;
  }
  // lib3mf walks every path through the components of each build item while it reads, so a
  // small file that places objects without end would keep it busy for good: such a file is
  // refused on its own count before lib3mf sees it.
  std::uint64_t placed = 0;
  if (count_3mf_placements(path, placed) && placed > kMaxPlacements) {
    LOG(ERROR) << what << ": the build places more than " << kMaxPlacements
               << " objects through its components, beyond what this reader expands";
    return kBaseReadCorrupt;
  }
  Lib3mfHandle model;
  if (NMR::lib3mf_createmodel(model.out()) != LIB3MF_OK) {
    LOG(ERROR) << what << ": lib3mf cannot create a model";
    return kBaseReadCorrupt;
  }
  Lib3mfHandle reader;
  if (NMR::lib3mf_model_queryreader(model.get(), "3mf", reader.out()) != LIB3MF_OK) {
    LOG(ERROR) << what << ": lib3mf has no 3MF reader (" << lib3mf_reason(model.get()) << ")";
    return kBaseReadCorrupt;
  }
  if (NMR::lib3mf_reader_readfromfileutf8(reader.get(), path.c_str()) != LIB3MF_OK) {
    LOG(ERROR) << what << ": unreadable 3MF (" << lib3mf_reason(reader.get()) << ")";
    return kBaseReadCorrupt;
  }
  double scale = 1.0;
  if (to_millimetres) {
    DWORD unit = 0;
    if (NMR::lib3mf_model_getunit(model.get(), &unit) != LIB3MF_OK) {
      LOG(ERROR) << what << ": cannot read the model's unit (" << lib3mf_reason(model.get()) << ")";
      return kBaseReadCorrupt;
    }
    scale = millimetres_per_unit(unit);
    if (scale == 0.0) {
      LOG(ERROR) << what << ": unknown unit " << unit;
      return kBaseReadCorrupt;
    }
  }
  BuildExpander expander(model.get(), what, apply_transforms, scale);
  if (!expander.read_build_items()) return kBaseReadCorrupt;
  const int result = expander.expand();
  if (result != 0) return result;
  mesh.clear();
  mesh.set_vCoords(expander.vertices());
  mesh.set_faces(expander.faces());
  return 0;
}

}  // namespace

int read_3mf_mesh(const std::string& path, BaseTriMesh& mesh, bool apply_transforms,
                  bool to_millimetres) {
  const int result = read_3mf_model(path, mesh, apply_transforms, to_millimetres);
  if (result != 0) mesh.clear();
  return result;
}

}  // namespace Quorvex
