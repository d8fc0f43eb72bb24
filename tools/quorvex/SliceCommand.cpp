#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "LayerPipeline.h"
#include "MeshSlicer.h"
#include "PreviewWriters.h"
#include "quorvex/quorvex.h"

namespace QuorvexTool {

namespace {

constexpr float kMinInfillSpacing = 0.01f;

struct SliceOptions {
  std::string model;
  std::string output;
  std::string archive;       // beside the G-code, named after it
  std::string preview_mesh;  // likewise
  std::string preview;
  float layer_height = 0.2f;
  LayerSettings layer;
  unsigned threads = 0;
  bool quiet = false;
};

int usage_error(const std::string& message) {
  std::cerr << "quorvex slice: " << message << "\n";
  print_usage(std::cerr);
  return kExitUsage;
}

// The value as the chain will see it, narrowed to float: a normal number from `lo` to `hi`.
// The range is checked in double first, as narrowing a double beyond the floats is
// undefined; a value that narrows to zero or below the normal floats is refused too, since
// it would reach the chain as no length at all.
bool narrow_length(double value, float lo, float hi, float& out) {
  if (!(value >= lo && value <= hi)) return false;
  const float f = static_cast<float>(value);
  if (!std::isnormal(f) || f < lo) return false;
  out = f;
  return true;
}

// Refuses two outputs that are one file (the later would silently replace the earlier,
// and the summary would name files that are not there) and an output that is the model.
int check_output_paths(const SliceOptions& o) {
  std::vector<std::pair<const char*, const std::string*>> files = {
      {"the model", &o.model},
      {"the G-code", &o.output},
      {"the archive", &o.archive},
      {"the preview mesh", &o.preview_mesh}};
  if (!o.preview.empty()) files.push_back({"the preview page", &o.preview});
  for (std::size_t i = 0; i < files.size(); ++i) {
    for (std::size_t j = i + 1; j < files.size(); ++j) {
      if (!same_file(*files[i].second, *files[j].second)) continue;
      if (i == 0) {
        return usage_error(std::string(files[j].first) + " would overwrite the model '" +
                           *files[j].second + "'");
      }
      return usage_error(std::string(files[i].first) + " and " + files[j].first +
                         " would be the same file '" + *files[j].second +
                         "' (the archive and the preview mesh take the name of -o with .qxm "
                         "and .ply)");
    }
  }
  return 0;
}

// Returns 0 when the options are complete, an exit status otherwise.
int parse(const std::vector<std::string>& args, SliceOptions& o) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](const char* what) -> const std::string* {
      if (i + 1 >= args.size()) return nullptr;
      (void)what;
      return &args[++i];
    };
    auto number = [&](const char* what, double& out) -> bool {
      const std::string* v = value(what);
      if (!v) return false;
      auto n = parse_number(*v);
      if (!n) return false;
      out = *n;
      return true;
    };
    double n = 0;
    if (a == "-o" || a == "--output") {
      const std::string* v = value("output");
      if (!v) return usage_error(a + " needs a value (the G-code file)");
      o.output = *v;
    } else if (a == "--preview") {
      const std::string* v = value("preview");
      if (!v) return usage_error("--preview needs a value (the page to write)");
      o.preview = *v;
    } else if (a == "--layer-height") {
      if (!number("layer height", n) || !narrow_length(n, 0.0f, 1000.0f, o.layer_height)) {
        return usage_error("--layer-height needs a positive number of mm, at most 1000");
      }
    } else if (a == "--line-width") {
      if (!number("line width", n) || !narrow_length(n, 0.0f, 1000.0f, o.layer.line_width)) {
        return usage_error("--line-width needs a positive number of mm, at most 1000");
      }
    } else if (a == "--shells") {
      if (!number("shells", n) || n < 0 || n > 100 || n != static_cast<int>(n)) {
        return usage_error("--shells needs a whole number from 0 to 100");
      }
      o.layer.shells = static_cast<int>(n);
    } else if (a == "--infill-spacing") {
      // Closer lines than a hundredth of a millimetre are no print, and over any sizeable
      // part they run past the fill's line limit, which leaves the layers unfilled.
      if (!number("infill spacing", n) ||
          !narrow_length(n, kMinInfillSpacing, 1e6f, o.layer.infill_spacing)) {
        return usage_error("--infill-spacing needs a number of mm from 0.01 to 1000000");
      }
    } else if (a == "--infill-angle") {
      if (!number("infill angle", n) || std::abs(n) > 3600) {
        return usage_error("--infill-angle needs a number of degrees");
      }
      o.layer.infill_angle = static_cast<float>(n);
    } else if (a == "--threads") {
      if (!number("threads", n) || n < 1 || n > 256 || n != static_cast<int>(n)) {
        return usage_error("--threads needs a whole number from 1 to 256");
      }
      o.threads = static_cast<unsigned>(n);
    } else if (a == "--quiet" || a == "-q") {
      o.quiet = true;
    } else if (a == "-h" || a == "--help") {
      print_usage(std::cout);
      return -1;
    } else if (!a.empty() && a[0] == '-') {
      return usage_error("unknown option '" + a + "'");
    } else if (o.model.empty()) {
      o.model = a;
    } else {
      return usage_error("unexpected argument '" + a + "'");
    }
  }
  if (o.model.empty()) return usage_error("no model file given");
  if (o.output.empty()) o.output = replace_extension(o.model, ".gcode");
  o.archive = replace_extension(o.output, ".qxm");
  o.preview_mesh = replace_extension(o.output, ".ply");
  return check_output_paths(o);
}

std::string read_error_text(int code) {
  switch (code) {
    case 1:
      return "unsupported file type (use .stl, .obj or .3mf)";
    case 2:
      return "file not found or not readable";
    case 3:
      return "corrupt or truncated content";
    case 4:
      return "the file holds no mesh";
    case 6:
      return "the file is empty";
    default:
      return "cannot be read (code " + std::to_string(code) + ")";
  }
}

int slice_model(const SliceOptions& o) {
  const std::string ext = extension_of(o.model);
  if (ext != "stl" && ext != "obj" && ext != "3mf") {
    std::cerr << "quorvex: cannot slice '" << o.model
              << "': " << read_error_text(Quorvex::IORET_BAD_FORMAT) << "\n";
    return kExitFailure;
  }
  if (!std::filesystem::is_regular_file(o.model)) {
    std::cerr << "quorvex: cannot slice '" << o.model << "': " << read_error_text(2) << "\n";
    return kExitFailure;
  }
  // On the heap so that it can be freed early: assigning an empty mesh would keep the
  // vectors' capacity (the class copies, it has no move assignment).
  auto mesh = std::make_unique<Quorvex::BaseTriMesh>();
  const Quorvex::IORet read =
      Quorvex::read_TriMesh(o.model, *mesh, std::function<void(const int&)>());
  if (read != Quorvex::IORET_OK) {
    std::cerr << "quorvex: cannot slice '" << o.model << "': " << read_error_text(read) << "\n";
    return kExitFailure;
  }
  if (mesh->get_fn() == 0) {
    std::cerr << "quorvex: cannot slice '" << o.model << "': the mesh has no faces\n";
    return kExitFailure;
  }
  // Readers take "nan" and "inf" as numbers; such a vertex has no place to cut.
  const std::size_t bad_vertex = first_non_finite_vertex(*mesh);
  if (bad_vertex < mesh->get_vn()) {
    const auto& v = mesh->get_vCoord(bad_vertex);
    std::cerr << "quorvex: cannot slice '" << o.model << "': vertex " << bad_vertex << " (" << v.x()
              << " " << v.y() << " " << v.z() << ") is not a finite point\n";
    return kExitFailure;
  }

  const bool show_progress = !o.quiet && stderr_is_terminal();
  SliceGrid grid;
  const GridStatus grid_status = make_slice_grid(*mesh, o.layer_height, grid);
  if (grid_status != GridStatus::kOk) {
    std::cerr << "quorvex: cannot slice '" << o.model << "': ";
    if (grid_status == GridStatus::kTooManyLayers) {
      std::cerr << "heights " << grid.z_min << " to " << grid.z_max << " at " << o.layer_height
                << " mm per layer need more than " << kMaxLayers << " layers\n";
    } else {
      std::cerr << "the mesh's heights are not finite\n";
    }
    return kExitFailure;
  }
  std::vector<SliceLayer> cuts;
  {
    ProgressBar bar("cutting ", grid.layer_count, show_progress);
    cuts = slice_mesh(*mesh, grid, o.threads, [&](std::size_t done) { bar.update(done); });
  }
  // Only the cut loops are needed from here on: the mesh goes before the layers are built,
  // so that it never sits beside the whole print model.
  const std::size_t mesh_vertices = mesh->get_vn(), mesh_faces = mesh->get_fn();
  mesh.reset();

  // Every layer runs the chain on its own objects, so layers go to all cores; each
  // result has its slot, so the output does not depend on the thread count.
  const std::size_t n = cuts.size();
  Quorvex::Entity entity;
  entity.resize_layer_size(n);
  std::vector<LayerReport> reports(n);
  // The chain throws where the polygon engine does (a coordinate beyond its range). An
  // exception must not leave a worker, which would end the process: it is kept instead.
  // Layers are taken in order, so skipping those above a failure still runs every layer
  // below it, and the failure reported is that of the lowest failing layer whatever the
  // thread count.
  std::mutex failure_mutex;
  std::atomic<std::size_t> failed_layer{n};
  std::string failure_what;
  {
    ProgressBar bar("layers  ", n, show_progress);
    std::atomic<std::size_t> next{0}, done{0};
    auto run_layer = [&](std::size_t i) {
      if (i < failed_layer.load()) {
        // The fill turns by 90 degrees from layer to layer.
        LayerSettings settings = o.layer;
        settings.infill_angle = o.layer.infill_angle + (i % 2 == 1 ? 90.0f : 0.0f);
        try {
          entity.get_layers()[i] = build_layer(cuts[i].loops, settings, cuts[i].z, o.layer_height,
                                               static_cast<int>(i), &reports[i]);
        } catch (const std::exception& e) {
          std::lock_guard<std::mutex> lock(failure_mutex);
          if (i < failed_layer.load()) {
            failed_layer.store(i);
            failure_what = e.what();
          }
        }
      }
      ++done;
    };
    auto worker = [&] {
      for (std::size_t i = next++; i < n; i = next++) run_layer(i);
    };
    unsigned threads = o.threads ? o.threads : std::max(1u, std::thread::hardware_concurrency());
    threads = static_cast<unsigned>(std::min<std::size_t>(threads, std::max<std::size_t>(n, 1)));
    std::vector<std::thread> pool;
    for (unsigned t = 1; t < threads; ++t) pool.emplace_back(worker);
    // The calling thread works too and draws the bar between layers.
    for (std::size_t i = next++; i < n; i = next++) {
      run_layer(i);
      bar.update(done);
    }
    for (auto& t : pool) t.join();
    if (failed_layer.load() == n) bar.update(n);
  }
  if (failed_layer.load() < n) {
    const std::size_t i = failed_layer.load();
    std::cerr << "quorvex: cannot slice '" << o.model << "': layer " << i << " (z " << cuts[i].z
              << "): " << failure_what << "\n";
    return kExitFailure;
  }
  std::size_t unfilled = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (cuts[i].open_chains > 0) {
      std::cerr << "quorvex: warning: layer " << i << " (z " << cuts[i].z << "): dropped "
                << cuts[i].open_chains << " open cut chain" << (cuts[i].open_chains == 1 ? "" : "s")
                << " of a mesh that is not closed\n";
    }
    if (reports[i].refused_fills > 0) ++unfilled;
  }
  if (unfilled > 0) {
    std::cerr << "quorvex: warning: " << unfilled << " layer" << (unfilled == 1 ? " has" : "s have")
              << " a region the fill refused, left without fill (more lines at "
              << o.layer.infill_spacing << " mm spacing than the fill takes)\n";
  }

  // The cut loops are no longer needed: free them before the outputs are built, and stream
  // every output straight to its file, one layer at a time, so that peak memory stays near
  // the print model itself.
  std::vector<SliceLayer>().swap(cuts);

  std::size_t bytes = 0;
  std::string error;
  const bool gcode_ok = write_file_atomically(
      o.output,
      [&](std::ostream& out) {
        Quorvex::GCode gcode(4, {Quorvex::STRUCTURE_BOUNDARY, Quorvex::STRUCTURE_EXTRA_SHELL,
                                 Quorvex::STRUCTURE_FILL});
        for (const auto& layer : entity.get_layers()) {
          gcode.get_gcode_from_layer(*layer);
          const std::string& text = gcode.get_outputs().front();
          out.write(text.data(), static_cast<std::streamsize>(text.size()));
          bytes += text.size();
        }
      },
      error);
  if (!gcode_ok) {
    std::cerr << "quorvex: cannot write '" << o.output << "': " << error << "\n";
    return kExitFailure;
  }
  const std::string& archive_path = o.archive;
  if (!write_file_atomically(
          archive_path, [&entity](std::ostream& out) { out << entity; }, error)) {
    std::cerr << "quorvex: cannot write '" << archive_path << "': " << error << "\n";
    return kExitFailure;
  }
  const std::string& ply_path = o.preview_mesh;
  if (!write_file_atomically(
          ply_path, [&](std::ostream& out) { write_preview_ply(out, entity, o.layer.line_width); },
          error)) {
    std::cerr << "quorvex: cannot write '" << ply_path << "': " << error << "\n";
    return kExitFailure;
  }
  if (!o.preview.empty()) {
    std::vector<const Quorvex::Layer*> layers;
    for (const auto& l : entity.get_layers()) layers.push_back(l.get());
    const std::string html =
        layers_to_html(layers, "quorvex: " + std::filesystem::path(o.model).filename().string());
    if (!write_file_atomically(o.preview, html, error)) {
      std::cerr << "quorvex: cannot write '" << o.preview << "': " << error << "\n";
      return kExitFailure;
    }
  }

  std::size_t regions = 0, shells = 0, fills = 0;
  for (const auto& r : reports) {
    regions += r.regions;
    shells += r.shell_loops;
    fills += r.fill_lines;
  }
  if (!o.quiet) {
    std::cout << "quorvex slice: " << o.model << "\n"
              << "  mesh          " << mesh_vertices << " vertices, " << mesh_faces << " faces\n"
              << "  layers        " << n << " of " << o.layer_height << " mm\n"
              << "  paths         " << regions << " regions, " << shells << " shell loops, "
              << fills << " fill lines\n"
              << "  G-code        " << o.output << " (" << bytes << " bytes)\n"
              << "  archive       " << archive_path << "\n"
              << "  preview mesh  " << ply_path << "\n";
    if (!o.preview.empty()) std::cout << "  preview page  " << o.preview << "\n";
  }
  return kExitOk;
}

}  // namespace

int run_slice(const std::vector<std::string>& args) {
  SliceOptions o;
  const int parsed = parse(args, o);
  if (parsed == -1) return kExitOk;
  if (parsed != 0) return parsed;
  // What the library throws outside the layers (memory, mostly) is one line too; the
  // outputs are written through temporary files, so none is left half written.
  try {
    return slice_model(o);
  } catch (const std::exception& e) {
    std::cerr << "quorvex: cannot slice '" << o.model << "': " << e.what() << "\n";
    return kExitFailure;
  }
}

}  // namespace QuorvexTool
