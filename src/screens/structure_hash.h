// The shape of a screen as a number: what kinds of views it has and how they lie in each other.
#pragma once

#include <cstdint>

#include "screens/view_tree.h"

namespace zarn::screens {

/// What a view is for. The numbers are part of the hash.
enum class SemanticRole : std::uint8_t {
  unknown,
  text,
  button,
  image,
  input,
  list,
  listItem,
  scroll,
  container,
  navigation,
  media,
};
SemanticRole roleOf(const platform::ViewFacts& facts);

/// The same for screens of one shape, whatever their texts and colours are and however many rows
/// their lists have; 0 when there is nothing to see.
///
/// - The order of views counts. Neighbours of one shape that hold others count once, and so do the
///   rows of a list that are made alike, whatever their order.
/// - Wrappers are looked through. What draws nothing and holds nothing doesn't count, nor does a
///   spinner that rests, nor do the inner parts of fields and controls, which change in use.
/// - Twelve levels deep; below that, it doesn't matter what a view holds.
std::uint64_t structureHash(ViewTree& tree);

}  // namespace zarn::screens
