#include "ThreeMfComponentScan.h"

#include <zip.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace Quorvex {

namespace {

// Names and attribute values that matter are short; anything longer is only known to be
// longer. An id written with character references takes up to six characters a digit.
constexpr std::size_t kLongName = 32;
constexpr std::size_t kLongValue = 160;
// Ids past 18 digits are no ids lib3mf accepts; the bound keeps the arithmetic in range.
constexpr std::size_t kMaxIdDigits = 18;
// An id that names no object of the part, or no valid id at all.
constexpr std::uint64_t kNoObject = UINT64_MAX;

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::uint64_t saturating_add(std::uint64_t a, std::uint64_t b) {
  return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

// The part of an element name after its namespace prefix.
std::string local_name(const std::string& name) {
  const std::size_t colon = name.rfind(':');
  return colon == std::string::npos ? name : name.substr(colon + 1);
}

// Replaces numeric character references and the predefined entities; false for any other
// reference, whose meaning a reader with a document type could define.
bool decode_references(const std::string& raw, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '&') {
      out += raw[i];
      continue;
    }
    const std::size_t end = raw.find(';', i);
    if (end == std::string::npos) return false;
    const std::string ref = raw.substr(i + 1, end - i - 1);
    i = end;
    static const std::pair<const char*, char> kPredefined[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
    bool known = false;
    for (const auto& [entity, c] : kPredefined) {
      if (ref == entity) {
        out += c;
        known = true;
      }
    }
    if (known) continue;
    if (ref.size() < 2 || ref[0] != '#') return false;
    const bool hex = ref[1] == 'x';
    const std::size_t first = hex ? 2 : 1;
    if (ref.size() == first || ref.size() - first > 6) return false;
    unsigned long code = 0;
    for (std::size_t k = first; k < ref.size(); ++k) {
      const char d = ref[k];
      unsigned digit;
      if (d >= '0' && d <= '9') {
        digit = static_cast<unsigned>(d - '0');
      } else if (hex && d >= 'a' && d <= 'f') {
        digit = static_cast<unsigned>(d - 'a' + 10);
      } else if (hex && d >= 'A' && d <= 'F') {
        digit = static_cast<unsigned>(d - 'A' + 10);
      } else {
        return false;
      }
      code = code * (hex ? 16 : 10) + digit;
    }
    // Only ASCII can make a digit or a space; anything else spoils the id either way.
    out += code < 128 ? static_cast<char>(code) : 'x';
  }
  return true;
}

// A resource id, read generously (spaces around it, a sign, leading zeros): reading more
// forms than lib3mf can only find more placements, never fewer.
std::uint64_t parse_id(const std::string& text) {
  std::size_t i = 0;
  std::size_t end = text.size();
  while (i < end && is_space(text[i])) ++i;
  while (end > i && is_space(text[end - 1])) --end;
  if (i < end && text[i] == '+') ++i;
  if (i == end || end - i > kMaxIdDigits) return kNoObject;
  std::uint64_t id = 0;
  for (; i < end; ++i) {
    if (text[i] < '0' || text[i] > '9') return kNoObject;
    id = id * 10 + static_cast<std::uint64_t>(text[i] - '0');
  }
  return id;
}

}  // namespace

void ComponentPlacementCounter::feed(const char* data, std::size_t size) {
  const char* p = data;
  const char* const end = data + size;
  while (p < end) {
    // Text and the bulk of a mesh (elements of no interest) are passed over in tight loops.
    if (state_ == State::kText) {
      const void* open = std::memchr(p, '<', static_cast<std::size_t>(end - p));
      if (open == nullptr) return;
      p = static_cast<const char*>(open) + 1;
      state_ = State::kMarkup;
      continue;
    }
    if (state_ == State::kName) {
      const char* const start = p;
      while (p < end && !is_space(*p) && *p != '/' && *p != '>') ++p;
      // Only names up to kLongName matter; one more character marks a longer one.
      const std::size_t room = kLongName + 1 > name_.size() ? kLongName + 1 - name_.size() : 0;
      name_.append(start, std::min(room, static_cast<std::size_t>(p - start)));
      if (p == end) return;
      start_attributes(*p++);
      continue;
    }
    if (state_ == State::kSkipTag) {
      if (quote_ != 0) {
        const void* close = std::memchr(p, quote_, static_cast<std::size_t>(end - p));
        if (close == nullptr) return;
        p = static_cast<const char*>(close);
      } else {
        while (p < end && *p != '>' && *p != '"' && *p != '\'') ++p;
        if (p == end) return;
      }
    }
    step(*p++);
  }
}

void ComponentPlacementCounter::step(char c) {
  switch (state_) {
    case State::kText:
      if (c == '<') state_ = State::kMarkup;
      return;
    case State::kMarkup:
      end_tag_ = false;
      name_.clear();
      if (c == '!') {
        state_ = State::kBang;
      } else if (c == '?') {
        matched_ = 0;
        state_ = State::kProcessing;
      } else if (c == '/') {
        end_tag_ = true;
        state_ = State::kName;
      } else if (c == '>') {
        state_ = State::kText;
      } else if (is_space(c)) {
        element_ = Element::kOther;
        quote_ = 0;
        state_ = State::kSkipTag;
      } else {
        name_ += c;
        state_ = State::kName;
      }
      return;
    case State::kName:  // read in feed
      return;
    case State::kAttrSpace:
      if (is_space(c)) return;
      if (c == '/') {
        empty_element_ = true;
      } else if (c == '>') {
        finish_tag();
      } else {
        empty_element_ = false;
        attribute_.assign(1, c);
        state_ = State::kAttrName;
      }
      return;
    case State::kAttrName:
      if (c == '=') {
        state_ = State::kAttrValueStart;
      } else if (is_space(c)) {
        state_ = State::kAttrEquals;
      } else if (c == '>') {
        finish_tag();
      } else if (attribute_.size() <= kLongName) {
        attribute_ += c;
      }
      return;
    case State::kAttrEquals:
      if (is_space(c)) return;
      if (c == '=') {
        state_ = State::kAttrValueStart;
      } else if (c == '>') {
        finish_tag();
      } else {
        attribute_.assign(1, c);
        state_ = State::kAttrName;
      }
      return;
    case State::kAttrValueStart:
      if (is_space(c)) return;
      if (c == '"' || c == '\'') {
        quote_ = c;
        value_.clear();
        state_ = State::kAttrValue;
      } else if (c == '>') {
        finish_tag();
      } else {
        quote_ = 0;
        state_ = State::kSkipTag;
      }
      return;
    case State::kAttrValue:
      if (c == quote_) {
        quote_ = 0;
        finish_attribute();
        state_ = State::kAttrSpace;
      } else if (value_.size() <= kLongValue) {
        value_ += c;
      }
      return;
    case State::kSkipTag:
      if (!follow_quotes(c) && c == '>') finish_tag();
      return;
    case State::kBang: {
      name_ += c;
      static const std::string kComment = "--";
      static const std::string kCData = "[CDATA[";
      matched_ = 0;
      if (name_ == kComment) {
        state_ = State::kComment;
      } else if (name_ == kCData) {
        state_ = State::kCData;
      } else if (kComment.compare(0, name_.size(), name_) != 0 &&
                 kCData.compare(0, name_.size(), name_) != 0) {
        // A declaration such as a document type: what was held back is part of it.
        const std::string held = name_;
        state_ = State::kDeclaration;
        quote_ = 0;
        bracket_depth_ = 0;
        for (char h : held) step(h);
      }
      return;
    }
    case State::kComment:
    case State::kCData: {
      const char dash = state_ == State::kComment ? '-' : ']';
      if (c == dash) {
        matched_ = matched_ < 2 ? matched_ + 1 : 2;
      } else {
        if (c == '>' && matched_ == 2) state_ = State::kText;
        matched_ = 0;
      }
      return;
    }
    case State::kProcessing:
      if (c == '>' && matched_ == 1) state_ = State::kText;
      matched_ = c == '?' ? 1 : 0;
      return;
    case State::kDeclaration:
      if (follow_quotes(c)) return;
      if (c == '[') {
        ++bracket_depth_;
      } else if (c == ']') {
        --bracket_depth_;
      } else if (c == '>' && bracket_depth_ <= 0) {
        state_ = State::kText;
      }
      return;
  }
}

bool ComponentPlacementCounter::follow_quotes(char c) {
  if (quote_ != 0) {
    if (c == quote_) quote_ = 0;
    return true;
  }
  if (c == '"' || c == '\'') {
    quote_ = c;
    return true;
  }
  return false;
}

void ComponentPlacementCounter::start_attributes(char delimiter) {
  const std::string local = name_.size() > kLongName ? std::string() : local_name(name_);
  element_ = Element::kOther;
  if (local == "object") {
    element_ = Element::kObject;
  } else if (!end_tag_ && local == "component") {
    element_ = Element::kComponent;
  } else if (!end_tag_ && local == "item") {
    element_ = Element::kItem;
  }
  has_id_ = false;
  empty_element_ = false;
  quote_ = 0;
  if (delimiter == '>') {
    finish_tag();
  } else if (element_ == Element::kOther || end_tag_) {
    state_ = State::kSkipTag;
  } else {
    empty_element_ = delimiter == '/';
    state_ = State::kAttrSpace;
  }
}

void ComponentPlacementCounter::finish_attribute() {
  const bool wanted = element_ == Element::kObject
                          ? attribute_ == "id"
                          : element_ != Element::kOther && attribute_ == "objectid";
  if (!wanted) return;
  has_id_ = true;
  if (value_.size() > kLongValue || !decode_references(value_, id_text_)) {
    // Which object this names is unknown here, so nothing it reaches can be bounded.
    id_text_.clear();
    unbounded_ = true;
  }
}

void ComponentPlacementCounter::finish_tag() {
  state_ = State::kText;
  const std::uint64_t id = has_id_ ? parse_id(id_text_) : kNoObject;
  switch (element_) {
    case Element::kOther:
      return;
    case Element::kObject:
      if (end_tag_) {
        close_object();
        return;
      }
      close_object();  // an object left open by broken XML
      in_object_ = true;
      object_id_ = id;
      children_.clear();
      if (empty_element_) close_object();
      return;
    case Element::kComponent:
      if (in_object_) children_.push_back(id);
      return;
    case Element::kItem:
      items_.push_back(id);
      return;
  }
}

void ComponentPlacementCounter::close_object() {
  if (!in_object_) return;
  in_object_ = false;
  // lib3mf refuses an object without a valid id or a second object of the same id; here the
  // components of all are kept, which can only count more.
  if (object_id_ == kNoObject) return;
  std::vector<std::uint64_t>& kept = objects_[object_id_];
  kept.insert(kept.end(), children_.begin(), children_.end());
}

std::uint64_t ComponentPlacementCounter::placements() const {
  if (unbounded_) return UINT64_MAX;
  struct Count {
    bool open;
    std::uint64_t placed;
  };
  std::unordered_map<std::uint64_t, Count> counted;
  struct Frame {
    std::uint64_t id;
    const std::vector<std::uint64_t>* children;
    std::size_t next;
    std::uint64_t placed;
  };
  std::vector<Frame> stack;
  // Everything `id` places, itself included, each object worked out once; without recursion,
  // as a chain of components may be as long as the file allows.
  const auto count = [&](std::uint64_t id) -> std::uint64_t {
    const auto known = counted.find(id);
    if (known != counted.end()) return known->second.open ? UINT64_MAX : known->second.placed;
    const auto object = objects_.find(id);
    if (object == objects_.end()) return 1;
    counted[id] = {true, 0};
    stack.push_back({id, &object->second, 0, 1});
    std::uint64_t result = 1;
    while (!stack.empty()) {
      Frame& top = stack.back();
      if (top.next == top.children->size()) {
        counted[top.id] = {false, top.placed};
        result = top.placed;
        stack.pop_back();
        if (!stack.empty()) stack.back().placed = saturating_add(stack.back().placed, result);
        continue;
      }
      const std::uint64_t child = (*top.children)[top.next++];
      const auto seen = counted.find(child);
      if (seen != counted.end()) {
        // An object still open is one of its own components: it places without end.
        top.placed =
            saturating_add(top.placed, seen->second.open ? UINT64_MAX : seen->second.placed);
        continue;
      }
      const auto sub = objects_.find(child);
      if (sub == objects_.end()) {
        top.placed = saturating_add(top.placed, 1);
        continue;
      }
      counted[child] = {true, 0};
      stack.push_back({child, &sub->second, 0, 1});  // `top` is not used after this
    }
    return result;
  };
  std::uint64_t total = 0;
  for (std::uint64_t item : items_) total = saturating_add(total, count(item));
  return total;
}

bool count_3mf_placements(const std::string& path, std::uint64_t& placements) {
  int error = 0;
  zip_t* opened = zip_open(path.c_str(), ZIP_RDONLY, &error);
  if (opened == nullptr) return false;
  const std::unique_ptr<zip_t, void (*)(zip_t*)> archive(opened, zip_discard);
  std::vector<char> buffer(std::size_t{1} << 16);
  std::uint64_t total = 0;
  const zip_int64_t entries = zip_get_num_entries(archive.get(), 0);
  for (zip_int64_t i = 0; i < entries; ++i) {
    // Every part, not only those named like a model: binary parts pass quickly, and a part
    // that is no model holds no build items.
    zip_file_t* file = zip_fopen_index(archive.get(), static_cast<zip_uint64_t>(i), 0);
    if (file == nullptr) continue;  // encrypted or of an unknown method: lib3mf cannot either
    ComponentPlacementCounter counter;
    for (;;) {
      const zip_int64_t got = zip_fread(file, buffer.data(), buffer.size());
      if (got <= 0) break;
      counter.feed(buffer.data(), static_cast<std::size_t>(got));
    }
    zip_fclose(file);
    total = saturating_add(total, counter.placements());
  }
  placements = total;
  return true;
}

}  // namespace Quorvex
