// Reaches the sockets of connections that the HTTP library keeps to itself, by their ports.
#pragma once

namespace zarn::collector {

/// The descriptor of this process's connection from the client's port, or -1. It stays valid while
/// the request that came over it is being answered.
int connectionFrom(int clientPort, int serverPort);
/// Whether the client has closed its end.
bool hasLeft(int connection);
/// Ends a connection in both directions, so that whoever reads or writes it fails.
void breakConnection(int connection);
/// Ends all connections to the server's port.
void breakConnectionsTo(int serverPort);

}  // namespace zarn::collector
