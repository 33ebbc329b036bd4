#pragma once

// Internal to libzukit (not installed, not exported): the bytes of a draft, as the mail composer
// saves it.

#include <optional>
#include <string>

#include "zukit/platform/mail/MailMessage.h"

namespace zu {

// The bytes of `message` exactly as libcurl submits it (header fields, MIME structure, encoded
// parts; the boundary is new each time), as an .eml file holds them. libcurl has no call that
// writes a MIME tree out, so it submits the message to a minimal SMTP responder in this process,
// which keeps what the DATA command carries. They meet on a Unix socket in the abstract namespace
// under a random name, and the responder takes only a connection from this process: nothing
// touches the network or the file system. None on failure, with the reason in `problem`. Blocks;
// call it off the main thread.
std::optional<std::string> renderMail(const MailMessage& message, std::string& problem);

}  // namespace zu
