#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"
#include "LayerPipeline.h"
#include "MeshSlicer.h"
#include "PreviewWriters.h"
#include "quorvex/quorvex.h"

namespace QuorvexTool {

namespace {

struct SliceOptions {
  std::string model;
  std::string output;
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
      if (!v) return usage_error("missing value of " + a);
      o.output = *v;
    } else if (a == "--preview") {
      const std::string* v = value("preview");
      if (!v) return usage_error("missing value of --preview");
      o.preview = *v;
    } else if (a == "--layer-height") {
      if (!number("layer height", n) || !(n > 0) || n > 1000) {
        return usage_error("--layer-height needs a positive number");
      }
      o.layer_height = static_cast<float>(n);
    } else if (a == "--line-width") {
      if (!number("line width", n) || !(n > 0) || n > 1000) {
        return usage_error("--line-width needs a positive number");
      }
      o.layer.line_width = static_cast<float>(n);
    } else if (a == "--shells") {
      if (!number("shells", n) || n < 0 || n > 100 || n != static_cast<int>(n)) {
        return usage_error("--shells needs a whole number from 0 to 100");
      }
      o.layer.shells = static_cast<int>(n);
    } else if (a == "--infill-spacing") {
      if (!number("infill spacing", n) || !(n > 0) || n > 1e6) {
        return usage_error("--infill-spacing needs a positive number");
      }
      o.layer.infill_spacing = static_cast<float>(n);
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
  return 0;
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

}  // namespace

int run_slice(const std::vector<std::string>& args) {
  SliceOptions o;
  const int parsed = parse(args, o);
  if (parsed == -1) return kExitOk;
  if (parsed != 0) return parsed;

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

  const bool show_progress = !o.quiet && stderr_is_terminal();
  const SliceGrid grid = make_slice_grid(*mesh, o.layer_height);
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
  {
    ProgressBar bar("layers  ", n, show_progress);
    std::atomic<std::size_t> next{0}, done{0};
    auto run_layer = [&](std::size_t i) {
      // The fill turns by 90 degrees from layer to layer.
      LayerSettings settings = o.layer;
      settings.infill_angle = o.layer.infill_angle + (i % 2 == 1 ? 90.0f : 0.0f);
      entity.get_layers()[i] = build_layer(cuts[i].loops, settings, cuts[i].z, o.layer_height,
                                           static_cast<int>(i), &reports[i]);
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
    bar.update(n);
  }
  for (std::size_t i = 0; i < n; ++i) {
    if (cuts[i].open_chains > 0) {
      std::cerr << "quorvex: warning: layer " << i << " (z " << cuts[i].z << "): dropped "
                << cuts[i].open_chains << " open cut chain" << (cuts[i].open_chains == 1 ? "" : "s")
                << " of a mesh that is not closed\n";
    }
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
  const std::string archive_path = replace_extension(o.output, ".qxm");
  if (!write_file_atomically(
          archive_path, [&entity](std::ostream& out) { out << entity; }, error)) {
    std::cerr << "quorvex: cannot write '" << archive_path << "': " << error << "\n";
    return kExitFailure;
  }
  const std::string ply_path = replace_extension(o.output, ".ply");
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

}  // namespace QuorvexTool
