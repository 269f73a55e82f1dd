// What collecting the full context costs.
#pragma once

namespace zarn::bench {

/// Milliseconds for one collection on this machine, with everything allowed; the median of many.
double contextCollectMs();

/// The same with all that is read once when the library starts: product, screen, locale and so on.
double contextFirstCollectMs();

}  // namespace zarn::bench
