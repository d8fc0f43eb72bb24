// How many objects the build of a 3MF package places once every component is expanded,
// counted from the model's XML before lib3mf reads it.
//
// lib3mf checks every build item by walking each path through the components below it, one
// visit per placed object, while it reads the file. A package of a kilobyte whose objects
// each place the one before twice, forty levels deep, asks for 2^40 visits: the read never
// ends. Counting the placements here first, with each object's count worked out once, lets
// the reader refuse such a file before lib3mf walks it.
#ifndef QUORVEX_BASE_THREEMFCOMPONENTSCAN_H
#define QUORVEX_BASE_THREEMFCOMPONENTSCAN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace Quorvex {

// Reads the XML of one model part in pieces of any size and counts the objects its build
// items place: an object counts itself and, for each of its components, everything that
// component's object places; a mesh or an id the part does not define counts 1. Element
// prefixes are ignored, comments, CDATA sections, processing instructions and declarations
// are skipped, and quoted attribute values may hold any character. A components cycle counts
// as UINT64_MAX, as do counts beyond that and an id this counter cannot read for sure (one
// past 160 characters, or written with an entity only a document type defines). Malformed
// XML gives some count and nothing worse: lib3mf refuses it anyway.
class ComponentPlacementCounter {
 public:
  void feed(const char* data, std::size_t size);
  // The count over every build item fed so far; sums saturate at UINT64_MAX.
  std::uint64_t placements() const;

 private:
  enum class State {
    kText,
    kMarkup,     // after '<'
    kName,       // element name
    kAttrSpace,  // between attributes
    kAttrName,
    kAttrEquals,  // after an attribute name, before '='
    kAttrValueStart,
    kAttrValue,
    kSkipTag,  // rest of an element of no interest
    kBang,     // after "<!"
    kComment,
    kCData,
    kDeclaration,
    kProcessing,  // after "<?"
  };
  enum class Element { kOther, kObject, kComponent, kItem };

  void step(char c);
  // Follows quoted text in markup: true when `c` opens, closes or lies inside a quotation.
  bool follow_quotes(char c);
  void start_attributes(char delimiter);
  void finish_tag();
  void finish_attribute();
  void close_object();

  State state_ = State::kText;
  // Element name, attribute name and attribute value being read; all short for the elements
  // that matter, so longer ones are only marked as too long.
  std::string name_;
  std::string attribute_;
  std::string value_;
  bool end_tag_ = false;
  bool empty_element_ = false;  // "/>"
  char quote_ = 0;
  Element element_ = Element::kOther;
  std::string id_text_;  // the id or objectid of the element being read
  bool has_id_ = false;
  std::size_t matched_ = 0;  // characters of a terminator or of "<![CDATA[" matched so far
  int bracket_depth_ = 0;    // internal subset of a declaration

  bool in_object_ = false;
  std::uint64_t object_id_ = 0;
  std::vector<std::uint64_t> children_;  // of the object being read
  std::unordered_map<std::uint64_t, std::vector<std::uint64_t>> objects_;
  std::vector<std::uint64_t> items_;
  // An id this counter cannot read but lib3mf might: nothing can be bounded then.
  bool unbounded_ = false;
};

// Counts the placements of every part of the package at `path` (the model is found by the
// package's relationships, under any name), each part with its own ids, and gives their sum. False
// when the package cannot be opened as a zip archive; a part that cannot be read to its end counts
// as far as it could be.
bool count_3mf_placements(const std::string& path, std::uint64_t& placements);

}  // namespace Quorvex

#endif  // QUORVEX_BASE_THREEMFCOMPONENTSCAN_H
