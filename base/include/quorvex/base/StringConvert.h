#pragma once

#include <string>

#include "quorvex/base/BaseExport.h"

namespace Quorvex {

// UTF-8 to wide text (UTF-32, or UTF-16 where wchar_t has 16 bits). A byte that is not
// part of a valid UTF-8 sequence becomes the lone surrogate U+DC80 + byte, so that a
// file name of arbitrary bytes survives the round trip through wstring_to_string.
QXB_EXPORT std::wstring string_to_wstring(const std::string& s);
// Wide text to UTF-8; the escapes of string_to_wstring become their byte again, any
// other unpaired surrogate or value beyond U+10FFFF becomes U+FFFD.
QXB_EXPORT std::string wstring_to_string(const std::wstring& s);

}  // namespace Quorvex
