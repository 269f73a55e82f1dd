// What filtering personal data costs.
#pragma once

namespace zarn::bench {

/// Microseconds for a whole scrub, names included, of a clean text of 64 characters; the median
/// over several such texts.
double scrubClean64Us();

/// Milliseconds for a whole scrub of the worst of several hostile texts of 64 KB, each at its best
/// of nine, which leaves out what else the machine was busy with.
double scrubHostile64kMs();

}  // namespace zarn::bench
