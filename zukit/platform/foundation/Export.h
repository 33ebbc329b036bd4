#pragma once

// Marks a class, function or variable as part of the library's public interface: the library
// is built with hidden visibility, and only what carries this mark is exported.
#define ZU_EXPORT __attribute__((visibility("default")))
