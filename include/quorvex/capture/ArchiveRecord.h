#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvex/Export.h"
#include "quorvex/baseType/Point2.h"
#include "quorvex/capture/ArchiveStream.h"

// Self-describing records of the arguments of one library call: a version header, the
// argument names, the values, and a tail naming each argument with its type.

namespace Quorvex {

// Mask of the tail strings: fixed words, constant from load on.
QX_EXPORT extern const std::array<std::uint64_t, 100> tail_key_table;

// XORs every 8-byte window of `s` (little-endian, overlapping, in ascending order) with
// word `i % 100` of tail_key_table. Strings shorter than 8 bytes stay as they are. The mask
// does not depend on the data, so a second call undoes the first.
QX_EXPORT void scramble_tail_string(std::string& s);

class QX_EXPORT ArchiveWriter {
 public:
  // One registered argument.
  class QX_EXPORT Interface {
   public:
    virtual ~Interface();
    virtual bool write(WriteAble out) = 0;
    virtual bool write_compact(WriteAble out) = 0;
    virtual std::string name() = 0;
    virtual std::string type_name() = 0;
  };

  // Defined for each argument type the library can store.
  template <class T>
  class helper;

  explicit ArchiveWriter(WriteAble out);

  // The caller's object must outlive the writer. Returns the index of the new entry.
  template <class T>
  int add_parameter(T& value, std::string name) {
    helpers.push_back(std::make_shared<helper<T>>(&value, std::move(name)));
    return static_cast<int>(helpers.size()) - 1;
  }

  bool write_header();
  // Element-wise encodings when gDAConfig.single_stream is set, bulk ones otherwise.
  bool write_values();
  bool write_tail();
  bool write_all();

  WriteAble stream;
  std::vector<std::shared_ptr<Interface>> helpers;
};

class QX_EXPORT ArchiveReader {
 public:
  class QX_EXPORT Interface {
   public:
    virtual ~Interface();
    virtual bool read(ReadAble in, std::map<std::string, std::string> flags) = 0;
    virtual bool read_compact(ReadAble in) = 0;
    virtual std::string name() = 0;
    virtual std::string type_name() = 0;
  };

  template <class T>
  class helper;

  explicit ArchiveReader(ReadAble in);

  template <class T>
  int add_parameter(T& value, std::string name) {
    helpers.push_back(std::make_shared<helper<T>>(&value, std::move(name)));
    return static_cast<int>(helpers.size()) - 1;
  }

  // Skips the optional version and commit tags and checks the stored names against the
  // registered ones, first in the current table form, then in the earlier one. Prints
  // what does not match to std::cout. Looking at a tag and trying the earlier form both
  // seek back, so the source must be seekable (a file or a stream over memory); on one that
  // is not, the header does not match.
  bool read_header();
  // Overwrites the registered arguments; call only after read_header gave true.
  bool read_values();

  ReadAble stream;
  std::vector<std::shared_ptr<Interface>> helpers;
  std::map<std::string, std::string> flags;

 private:
  void skip_tag(const std::string& tag);
  bool check_current_table(const std::vector<std::string>& expected);
  bool check_old_table(const std::vector<std::string>& expected);
};

template <>
class QX_EXPORT ArchiveWriter::helper<std::vector<Point2>> : public ArchiveWriter::Interface {
 public:
  helper(const std::vector<Point2>* value, std::string name)
      : value_(value), name_(std::move(name)) {}
  bool write(WriteAble out) override;
  bool write_compact(WriteAble out) override;
  std::string name() override;
  std::string type_name() override;

 private:
  const std::vector<Point2>* value_;
  std::string name_;
};

template <>
class QX_EXPORT ArchiveReader::helper<std::vector<Point2>> : public ArchiveReader::Interface {
 public:
  helper(std::vector<Point2>* value, std::string name) : value_(value), name_(std::move(name)) {}
  bool read(ReadAble in, std::map<std::string, std::string> flags) override;
  bool read_compact(ReadAble in) override;
  std::string name() override;
  std::string type_name() override;

 private:
  std::vector<Point2>* value_;
  std::string name_;
};

}  // namespace Quorvex
