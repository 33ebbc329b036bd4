#pragma once

// Internal to libzukit (not installed, not exported): the mail composer's header text helpers.

#include <string>
#include <string_view>

// Small text helpers of the mail composer's header writing.
namespace zu::mailtext {

// True when every byte is printable ASCII (0x20 to 0x7e).
bool isPrintableAscii(std::string_view text);
// `text` with every CR and LF replaced by a blank, so that it stays on one header line.
std::string withoutLineBreaks(std::string text);
// Standard base64 (RFC 4648) with padding.
std::string base64(std::string_view bytes);

}  // namespace zu::mailtext
