#include "quorvex/baseTypeIO/ObjReader.h"

#include <glog/logging.h>

#include <boost/interprocess/streams/bufferstream.hpp>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <limits>
#include <locale>

#include "ObjParse.h"
#include "StreamExceptionPause.h"

namespace Quorvex {

namespace obj_detail {

void append_polygon(std::vector<std::int64_t>& indices, ObjData& data) {
  const auto vertex_count = static_cast<std::int64_t>(data.vertices.size());
  for (std::int64_t& index : indices) {
    if (index < 0) index += 1 + vertex_count;
  }
  if (indices.size() < 3) return;
  // An index that no 32-bit corner can hold names no vertex either; 0 is dropped later.
  const auto narrow = [](std::int64_t v) -> std::int32_t {
    return (v < 1 || v > std::numeric_limits<std::int32_t>::max()) ? 0
                                                                   : static_cast<std::int32_t>(v);
  };
  for (std::size_t k = 1; k + 1 < indices.size(); ++k) {
    data.corners.push_back(narrow(indices[0]));
    data.corners.push_back(narrow(indices[k]));
    data.corners.push_back(narrow(indices[k + 1]));
  }
}

}  // namespace obj_detail

namespace {

using obj_detail::ObjData;

bool ends_face_line(char c) { return c == '\n' || c == '\r' || c == '\0'; }

// The numbers of one face line, as the reader's 10-byte token buffer and atoi see them.
void read_face_line(const char* line, ObjData& data, std::vector<std::int64_t>& indices) {
  indices.clear();
  const char* p = line;
  for (;;) {
    while (*p != ' ' && *p != '\t') {
      if (ends_face_line(*p)) goto done;
      ++p;
    }
    while (*p == ' ' || *p == '\t') ++p;
    if (ends_face_line(*p)) break;
    char token[obj_detail::kTokenBuffer];
    int length = 0;
    while (!ends_face_line(*p) && *p != '/' && *p != ' ' && *p != '\t') {
      if (length < obj_detail::kTokenBuffer - 1) token[length++] = *p;
      ++p;
    }
    token[length] = '\0';
    indices.push_back(std::atoi(token));
    if (ends_face_line(*p)) break;
  }
done:
  obj_detail::append_polygon(indices, data);
}

void parse_by_extraction(std::istream& in, ObjData& data) {
  char word[obj_detail::kWordBuffer];
  char line[obj_detail::kLineBuffer];
  std::vector<std::int64_t> indices;
  const auto more = [&in] {
    return !(in.rdstate() & (std::ios_base::failbit | std::ios_base::badbit));
  };
  in >> std::setw(obj_detail::kWordBuffer) >> word;
  while (more()) {
    if (std::strcmp(word, "v") == 0) {
      float x = 0.0f, y = 0.0f, z = 0.0f;
      in >> x >> y >> z;
      data.vertices.emplace_back(x, y, z);
    } else if (std::strcmp(word, "vt") == 0) {
      float u = 0.0f, v = 0.0f;
      in >> u >> v;
    } else if (std::strcmp(word, "vn") == 0) {
      float x = 0.0f, y = 0.0f, z = 0.0f;
      in >> x >> y >> z;
    } else if (std::strcmp(word, "f") == 0) {
      in.getline(line, obj_detail::kLineLimit);
      read_face_line(line, data, indices);
    } else {
      in.getline(line, obj_detail::kLineLimit);
    }
    in >> std::setw(obj_detail::kWordBuffer) >> word;
  }
}

// Replaces the mesh's content with what was read. Corners that name no vertex would
// leave the mesh's consumers reading out of bounds, so their faces go.
void fill_mesh(const ObjData& data, BaseTriMesh& mesh) {
  const auto vertex_count = static_cast<std::int64_t>(data.vertices.size());
  std::vector<BaseTriFace> faces;
  faces.reserve(data.corners.size() / 3);
  std::size_t dropped = 0;
  for (std::size_t i = 0; i + 2 < data.corners.size(); i += 3) {
    const std::int32_t a = data.corners[i];
    const std::int32_t b = data.corners[i + 1];
    const std::int32_t c = data.corners[i + 2];
    const auto valid = [vertex_count](std::int32_t v) { return v >= 1 && v <= vertex_count; };
    if (valid(a) && valid(b) && valid(c)) {
      faces.emplace_back(a - 1, b - 1, c - 1);
    } else {
      ++dropped;
    }
  }
  mesh.clear();
  mesh.set_vCoords(data.vertices);
  mesh.set_faces(faces);
  if (dropped > 0) {
    LOG(ERROR) << "OBJ: dropped " << dropped << " face(s) naming no existing vertex";
  }
}

}  // namespace

IORet parse_obj_by_extraction(std::istream& in, BaseTriMesh& mesh) {
  // The parse ends at the first failed extraction, which a caller's mask would turn into an
  // exception that skips filling the mesh.
  const StreamExceptionPause pause(in);
  ObjData data;
  parse_by_extraction(in, data);
  fill_mesh(data, mesh);
  return IORET_OK;
}

IORet parse_obj(std::istream& in, BaseTriMesh& mesh) {
  // As in parse_obj_by_extraction; with the mask set aside the scan in place, which raises
  // nothing, serves streams of any mask.
  const StreamExceptionPause pause(in);
  using Buf = boost::interprocess::basic_bufferbuf<char>;
  auto* buf = dynamic_cast<Buf*>(in.rdbuf());
  // The scan knows the "C" locale's spaces and numbers only and skips spaces as >> does by
  // default; any other setting goes through the stream.
  if (buf == nullptr || !in.good() || !(in.flags() & std::ios_base::skipws) ||
      in.getloc().name() != "C") {
    return parse_obj_by_extraction(in, mesh);
  }
  const std::streampos start = buf->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
  const std::pair<char*, std::size_t> memory = buf->buffer();
  if (start == std::streampos(-1) || static_cast<std::size_t>(start) > memory.second) {
    return parse_obj_by_extraction(in, mesh);
  }
  const auto offset = static_cast<std::size_t>(start);
  ObjData data;
  const obj_detail::ScanEnd end =
      obj_detail::scan_obj_buffer(memory.first + offset, memory.second - offset, data);
  buf->pubseekpos(static_cast<std::streamoff>(offset + end.position), std::ios_base::in);
  in.setstate(end.eof ? (std::ios_base::failbit | std::ios_base::eofbit) : std::ios_base::failbit);
  fill_mesh(data, mesh);
  return IORET_OK;
}

IORet read_obj_file(const std::string& file_name, BaseTriMesh& mesh) {
  // A folder opens as a stream on this system and reads as empty text: it is no file.
  std::error_code ec;
  const bool folder = std::filesystem::is_directory(file_name, ec);
  std::ifstream in;
  if (!folder) in.open(file_name, std::ios_base::in);
  if (!in.is_open()) {
    LOG(ERROR) << "file " << file_name << " not exist!";
    return IORET_FILE_NOT_FOUND;
  }
  // Numbers are read the same whatever locale the caller's program has made global.
  static_cast<std::istream&>(in).imbue(std::locale::classic());
  return parse_obj(in, mesh);
}

IORet read_obj_in_memory(const std::vector<unsigned char>& data, BaseTriMesh& mesh) {
  if (data.empty()) return IORET_EMPTY_DATA;
  boost::interprocess::basic_ibufferstream<char> in(reinterpret_cast<const char*>(data.data()),
                                                    data.size());
  static_cast<std::istream&>(in).imbue(std::locale::classic());
  return parse_obj(in, mesh);
}

}  // namespace Quorvex
