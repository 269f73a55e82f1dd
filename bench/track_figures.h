// What tracking costs the caller, and how fast events are delivered. Each client is a process of
// its own, since a process has one; it uses the public API alone.
#pragma once

#include <string>

#include "figures.h"

namespace zarn::bench {

/// `track` with five properties, against the floor of SQLite alone, in alternating runs; by itself
/// and beside a store that deletes thousands of acknowledged rows.
void addTrackFigures(Figures& figures);
/// From the first `track` to the last acknowledgement.
void addDeliveryFigures(Figures& figures);
void addConfigureFigures(Figures& figures);
void addDiagnosticsFigures(Figures& figures);
/// What recording one request of the host's costs its thread.
void addNetworkFigures(Figures& figures);

/// The client's side, in the child process; see track_client.cc.
int runTrackClient(int argc, char** argv);

}  // namespace zarn::bench
