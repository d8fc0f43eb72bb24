#include "quorvex/baseType/ModelArchive.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#include "ArchiveSink.h"

namespace Quorvex {

namespace {

// The reading side of one read_archive call. When the stream can say how many bytes it
// still holds, no count read from it makes us allocate more than that; when it cannot,
// blocks grow geometrically, a stage at a time, and stop at the first stage that does not
// arrive whole. Every read is checked, so a stream that holds less than it said stops the
// reading as well. Once the data run out, nothing more is read and every count still to
// come stays 0.
//
// The size is asked only once a block is larger than what the stream has ready: asking may
// make a file's buffer seek to the end and back and read its data again, which would
// dominate reading many small objects one call at a time.
class ModelSource {
 public:
  explicit ModelSource(ReadAble& in) : in_(in) {}

  bool exhausted() const { return exhausted_; }

  // A field of at most 16 bytes, all or nothing: on failure `value` keeps what it held.
  template <class T>
  bool read_value(T& value) {
    static_assert(sizeof(T) <= 16, "fields only");
    if (exhausted_) return false;
    if (known_ && left_ < sizeof(T)) {
      run_out();
      return false;
    }
    char tmp[sizeof(T)];
    if (!read_whole(tmp, sizeof(T))) return false;
    std::memcpy(&value, tmp, sizeof(T));
    return true;
  }

  // Room to reserve for `count` elements of `elem_size` bytes.
  std::size_t reservable(std::int32_t count, std::size_t elem_size) {
    if (count < 1 || exhausted_) return 0;
    const std::size_t want = static_cast<std::size_t>(count);
    if (!ask_size_for(want * elem_size)) return want;
    const std::size_t limit = known_ ? static_cast<std::size_t>(left_ / elem_size) : kFirstChunk;
    return std::min(want, limit);
  }

  // `count` elements as one block; `v` ends up holding the ones that came complete (on a
  // stream of unknown size: the complete stages).
  template <class V>
  void read_block(V& v, std::int32_t count) {
    using E = typename V::value_type;
    static_assert(std::is_trivially_copyable<E>::value, "copied as bytes");
    v.clear();
    if (count < 1 || exhausted_) return;
    const std::size_t want = static_cast<std::size_t>(count);
    const bool ready = !ask_size_for(want * sizeof(E));
    const std::size_t n =
        known_ ? std::min(want, static_cast<std::size_t>(left_ / sizeof(E))) : want;
    // Through a small staging buffer rather than resize-then-read: resizing would first
    // write zeros over the whole block, one more pass over memory that is usually fresh.
    // Without a known size the vector's own growth takes the block a stage at a time.
    v.reserve(known_ || ready ? n : std::min(n, kFirstChunk));
    alignas(E) unsigned char stage[kStageBytes];
    constexpr std::size_t kStageElements = kStageBytes / sizeof(E);
    for (std::size_t done = 0; done < n;) {
      const std::size_t k = std::min(kStageElements, n - done);
      if (!read_whole(reinterpret_cast<char*>(stage), k * sizeof(E))) return;
      const E* first = reinterpret_cast<const E*>(stage);
      v.insert(v.end(), first, first + k);
      done += k;
    }
    if (n < want) run_out();
  }

 private:
  static constexpr std::size_t kFirstChunk = 4096;
  static constexpr std::size_t kStageBytes = 8192;  // stays in the first-level cache

  // Whether the size must be known before `bytes` are taken; asks it the first time a
  // block is larger than what the stream has ready. False when the block arrives whole
  // anyway, so that reserving all of it costs nothing the data do not pay for.
  bool ask_size_for(std::size_t bytes) {
    if (asked_) return true;
    const std::int64_t ready = bytes_ready(in_);
    if (ready >= 0 && bytes <= static_cast<std::uint64_t>(ready)) return false;
    asked_ = true;
    const std::int64_t left = bytes_left(in_);
    if (left >= 0) {
      known_ = true;
      left_ = static_cast<std::uint64_t>(left);
    }
    return true;
  }

  // `count` bytes that the stream must deliver whole; after a short read nothing more is
  // read.
  bool read_whole(char* to, std::size_t count) {
    in_.read(to, count);
    if (in_.has_failed()) {
      left_ = 0;
      exhausted_ = true;
      return false;
    }
    if (known_) left_ -= count;
    return true;
  }

  // The stream holds less than the next value: take the rest plus one byte, so that the
  // stream's own flags tell the caller it ended early.
  void run_out() {
    char scratch[32];
    in_.read(scratch, static_cast<std::size_t>(left_) + 1);
    left_ = 0;
    exhausted_ = true;
  }

  ReadAble in_;  // a copy of the caller's handle for the length of the call
  bool asked_ = false;
  bool known_ = false;
  bool exhausted_ = false;
  std::uint64_t left_ = 0;
};

// ---- writing

void write_points(ArchiveSink& out, const std::vector<Point2>* points) {
  const std::int32_t n = points ? static_cast<std::int32_t>(points->size()) : 0;
  out.put_i32(n);
  if (n > 0) out.put_block(points->data(), static_cast<std::size_t>(n) * sizeof(Point2));
}

void write_path(ArchiveSink& out, const Path& p) {
  out.put_i32(static_cast<std::int32_t>(p.get_type()));
  out.put_f32(p.get_z());
  out.put_f32(p.get_width());
  out.put_i32(p.get_id());
  // A path without points has no form of its own; it is stored as an empty one.
  write_points(out, p.get_points().get());

  const std::shared_ptr<ColorVector const> colors = p.get_colors();
  const std::int32_t color_count = colors ? static_cast<std::int32_t>(colors->size()) : 0;
  out.put_i32(color_count);
  for (std::int32_t i = 0; i < color_count; ++i) {
    out.put((*colors)[static_cast<std::size_t>(i)].data(), 3 * sizeof(float));
  }

  const auto extra = p.get_extra_shell_component();
  const auto extend = p.get_extend_path_component();
  out.put_i32((extra ? 1 : 0) + (extend ? 1 : 0));
  if (extra) {
    out.put_i32(1);
    out.put_i32(extra->get_extraShell_id());
    out.put_i32(extra->is_small_region() ? 1 : 0);
  }
  if (extend) {
    out.put_i32(2);
    write_points(out, extend->get_tails().get());
    write_points(out, extend->get_heads().get());
  }
}

void write_path_list(ArchiveSink& out, const std::vector<std::shared_ptr<Path>>& list) {
  out.put_i32(static_cast<std::int32_t>(list.size()));
  const Path empty;
  for (const auto& p : list) write_path(out, p ? *p : empty);
}

void write_layer(ArchiveSink& out, const Layer& l) {
  out.put_i32(l.get_id());
  out.put_f32(l.get_z());
  out.put_f32(l.get_thickness());
  const std::vector<float>& offsets = l.get_extraShell_offsets();
  const std::int32_t n = static_cast<std::int32_t>(offsets.size());
  out.put_i32(n);
  if (n > 0) out.put_block(offsets.data(), static_cast<std::size_t>(n) * sizeof(float));
  write_path_list(out, l.get_boundary_paths());
  write_path_list(out, l.get_extraShell_paths());
  write_path_list(out, l.get_fill_paths());
  write_path_list(out, l.get_thinWalledFill_paths());
  write_path_list(out, l.get_sharpAngle_paths());
  write_path_list(out, l.get_support_paths());
  write_path_list(out, l.get_raft_paths());
  // Third in the class, last in the archive.
  write_path_list(out, l.get_small_region_paths());
}

void write_entity(ArchiveSink& out, const Entity& e) {
  out.put_i32(static_cast<std::int32_t>(e.get_craft_type()));
  out.put_f32(e.get_platform_height());
  const auto& layers = e.get_layers();
  out.put_i32(static_cast<std::int32_t>(layers.size()));
  const Layer empty;
  for (const auto& l : layers) write_layer(out, l ? *l : empty);
}

// ---- reading

// Gives the stored count, 0 when it did not come.
std::int32_t read_points(ModelSource& in, std::vector<Point2>& points) {
  points.clear();
  std::int32_t n = 0;
  in.read_value(n);
  in.read_block(points, n);
  return n;
}

void read_path(ModelSource& in, Path& p) {
  std::int32_t type = static_cast<std::int32_t>(p.get_type());
  float z = p.get_z();
  float width = p.get_width();
  std::int32_t id = p.get_id();
  if (in.read_value(type)) p.set_type(static_cast<PathType>(type));
  if (in.read_value(z)) p.set_z(z);
  if (in.read_value(width)) p.set_width(width);
  if (in.read_value(id)) p.set_id(id);

  auto points = std::make_shared<Point2Vector>();
  p.set_points(points);
  read_points(in, *points);

  std::int32_t color_count = 0;
  in.read_value(color_count);
  if (color_count > 0) {
    auto colors = std::make_shared<ColorVector>();
    p.set_colors(colors);
    colors->reserve(in.reservable(color_count, 3 * sizeof(float)));
    for (std::int32_t i = 0; i < color_count; ++i) {
      float c[3];
      if (!in.read_value(c)) break;
      colors->push_back(Color3f(c[0], c[1], c[2]));
    }
  }

  std::int32_t component_count = 0;
  in.read_value(component_count);
  for (std::int32_t i = 0; i < component_count && !in.exhausted(); ++i) {
    std::int32_t kind = 0;
    if (!in.read_value(kind)) break;
    if (kind == 1) {
      auto extra = std::make_shared<ExtraShellComponent>();
      std::int32_t extra_id = extra->get_extraShell_id();
      std::int32_t small = 0;
      in.read_value(extra_id);
      in.read_value(small);
      extra->set_extraShell_id(extra_id);
      extra->set_small_region(small != 0);
      p.set_extra_shell_component(extra);
    } else if (kind == 2) {
      auto extend = std::make_shared<ExtendPathComponent>();
      auto tails = std::make_shared<Point2Vector>();
      if (read_points(in, *tails) > 0) extend->set_tails(tails);
      auto heads = std::make_shared<Point2Vector>();
      if (read_points(in, *heads) > 0) extend->set_heads(heads);
      p.set_extend_path_component(extend);
    }
    // Any other kind has no length to skip by: the entry ends at its kind.
  }
}

void read_path_list(ModelSource& in, std::vector<std::shared_ptr<Path>>& list) {
  list.clear();
  std::int32_t n = 0;
  in.read_value(n);
  for (std::int32_t i = 0; i < n && !in.exhausted(); ++i) {
    auto p = std::make_shared<Path>();
    read_path(in, *p);
    if (in.exhausted()) break;  // the stream ended inside this path
    list.push_back(std::move(p));
  }
}

void read_layer(ModelSource& in, Layer& l) {
  std::int32_t id = l.get_id();
  float z = l.get_z();
  float thickness = l.get_thickness();
  if (in.read_value(id)) l.set_id(id);
  if (in.read_value(z)) l.set_z(z);
  if (in.read_value(thickness)) l.set_thickness(thickness);

  std::vector<float> offsets;
  std::int32_t n = 0;
  in.read_value(n);
  in.read_block(offsets, n);
  l.set_extraShell_offsets(offsets);

  read_path_list(in, l.get_boundary_paths());
  read_path_list(in, l.get_extraShell_paths());
  read_path_list(in, l.get_fill_paths());
  read_path_list(in, l.get_thinWalledFill_paths());
  read_path_list(in, l.get_sharpAngle_paths());
  read_path_list(in, l.get_support_paths());
  read_path_list(in, l.get_raft_paths());
  read_path_list(in, l.get_small_region_paths());
}

void read_entity(ModelSource& in, Entity& e) {
  std::int32_t craft = static_cast<std::int32_t>(e.get_craft_type());
  float platform = e.get_platform_height();
  if (in.read_value(craft)) e.set_craft_type(static_cast<CraftType>(craft));
  if (in.read_value(platform)) e.set_platform_height(platform);
  std::int32_t n = 0;
  in.read_value(n);
  auto& layers = e.get_layers();
  layers.clear();
  for (std::int32_t i = 0; i < n && !in.exhausted(); ++i) {
    auto l = std::make_shared<Layer>();
    read_layer(in, *l);
    if (in.exhausted()) break;  // the stream ended inside this layer
    layers.push_back(std::move(l));
  }
}

}  // namespace

void Point2Vector::read_archive(ReadAble& in) {
  ModelSource src(in);
  read_points(src, *this);
}
void Point2Vector::write_archive(WriteAble& out) const {
  write_gathered(out, nullptr, [this](ArchiveSink& sink) { write_points(sink, this); });
}

void Path::read_archive(ReadAble& in) {
  ModelSource src(in);
  read_path(src, *this);
}
void Path::write_archive(WriteAble& out) const {
  write_gathered(out, nullptr, [this](ArchiveSink& sink) { write_path(sink, *this); });
}

void Layer::read_archive(ReadAble& in) {
  ModelSource src(in);
  read_layer(src, *this);
}
void Layer::write_archive(WriteAble& out) const {
  write_gathered(out, nullptr, [this](ArchiveSink& sink) { write_layer(sink, *this); });
}

void Entity::read_archive(ReadAble& in) {
  ModelSource src(in);
  read_entity(src, *this);
}
void Entity::write_archive(WriteAble& out) const {
  write_gathered(out, nullptr, [this](ArchiveSink& sink) { write_entity(sink, *this); });
}

// ---- operators

std::istream& operator>>(std::istream& in, Entity& entity) {
  ReadAble h(in);
  entity.read_archive(h);
  return in;
}
std::ostream& operator<<(std::ostream& out, const Entity& entity) {
  WriteAble h(out);
  write_gathered(h, &out, [&entity](ArchiveSink& sink) { write_entity(sink, entity); });
  return out;
}
std::istream& operator>>(std::istream& in, Layer& layer) {
  ReadAble h(in);
  layer.read_archive(h);
  return in;
}
std::ostream& operator<<(std::ostream& out, const Layer& layer) {
  WriteAble h(out);
  write_gathered(h, &out, [&layer](ArchiveSink& sink) { write_layer(sink, layer); });
  return out;
}
std::istream& operator>>(std::istream& in, Path& path) {
  ReadAble h(in);
  path.read_archive(h);
  return in;
}
std::ostream& operator<<(std::ostream& out, const Path& path) {
  WriteAble h(out);
  path.write_archive(h);
  return out;
}
std::istream& operator>>(std::istream& in, Point2Vector& points) {
  ReadAble h(in);
  points.read_archive(h);
  return in;
}
std::ostream& operator<<(std::ostream& out, const Point2Vector& points) {
  WriteAble h(out);
  points.write_archive(h);
  return out;
}
std::istream& operator>>(std::istream& in, std::vector<Point2>& points) {
  ReadAble h(in);
  ModelSource src(h);
  read_points(src, points);
  return in;
}
std::ostream& operator<<(std::ostream& out, const std::vector<Point2>& points) {
  WriteAble h(out);
  write_gathered(h, nullptr, [&points](ArchiveSink& sink) { write_points(sink, &points); });
  return out;
}

ReadAble operator>>(ReadAble in, Path& path) {
  path.read_archive(in);
  return in;
}
WriteAble operator<<(WriteAble out, const Path& path) {
  path.write_archive(out);
  return out;
}
ReadAble operator>>(ReadAble in, Layer& layer) {
  layer.read_archive(in);
  return in;
}
WriteAble operator<<(WriteAble out, const Layer& layer) {
  layer.write_archive(out);
  return out;
}

}  // namespace Quorvex
