#pragma once

// Internal to libzukit (not installed, not exported): kernel and executable facts for identity and
// the log header.

#include <string>

namespace zu {

// The fields of the kernel's uname record.
struct UtsName {
  std::string sysname;
  std::string nodename;
  std::string release;
  std::string version;
  // The hardware identifier ("x86_64", "aarch64").
  std::string machine;
};

// The kernel's uname record; empty fields when the call fails.
UtsName uname();

// The path of the running executable.
std::string executablePath();

}  // namespace zu
