#pragma once

#include <netinet/in.h>

#include <cstdint>

#include "zukit/platform/foundation/Export.h"

// Socket addresses in the platform's own layout, which the reachability functions take: every
// address starts with its length in bytes and a one-byte family, where Linux's start with a
// two-byte family and carry no length. Code written for the platform fills in `sin_len` and
// hands over a pointer to the generic header, and the length byte lets the receiver check that
// the buffer holds a whole address of its family before reading it. The family numbers are the
// host's (AF_INET, AF_INET6), the other fields are laid out as on Linux, in network byte order.
namespace zu::bsd {

// The header every address starts with.
struct ZU_EXPORT sockaddr {
  std::uint8_t sa_len;
  std::uint8_t sa_family;
  char sa_data[14];
};

// An IPv4 address: 16 bytes.
struct ZU_EXPORT sockaddr_in {
  std::uint8_t sin_len;
  std::uint8_t sin_family;
  std::uint16_t sin_port;
  ::in_addr sin_addr;
  char sin_zero[8];
};

// An IPv6 address: 28 bytes.
struct ZU_EXPORT sockaddr_in6 {
  std::uint8_t sin6_len;
  std::uint8_t sin6_family;
  std::uint16_t sin6_port;
  std::uint32_t sin6_flowinfo;
  ::in6_addr sin6_addr;
  std::uint32_t sin6_scope_id;
};

static_assert(sizeof(sockaddr) == 16 && sizeof(sockaddr_in) == 16 && sizeof(sockaddr_in6) == 28,
              "the platform's address sizes");

}  // namespace zu::bsd
