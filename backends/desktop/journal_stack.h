// Reads the stack out of what the system's core dump service writes to the journal.
#pragma once

#include <string>
#include <string_view>

namespace zarn::desktop {

/// The stack of the thread that crashed, as the JSON of a call stack tree:
///
///   {"callStacks":[{"threadAttributed":true,"callStackRootFrames":[
///     {"binaryName":"shop","symbol":"main","offset":"0x1139"}, ...]}]}
///
/// Empty where `message` has none. `message` may be any bytes: at most 64 KiB of it and 100 frames
/// count, of a name the last path component and at most 128 characters. Nothing else of it is kept:
/// a line that is no frame may tell of folders, arguments or users.
std::string callStackTreeOf(std::string_view message);

}  // namespace zarn::desktop
