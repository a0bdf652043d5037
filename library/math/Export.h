#pragma once

/// @file
/// MEASUREMATH_API marks what the library exports; everything else has hidden visibility.
///
/// The same headers serve the static and the shared library: no define is needed for either.

/// Marks an exported name.
#define MEASUREMATH_API __attribute__((visibility("default")))
