// The requests of the visitor's app: by libcurl, each observed.
#pragma once

class Journal;

/// Asks servers of several names, all of which are the loopback port `port`. Each request is noted
/// with what a count by server, shape of the path and status has to hold.
void requestAll(const char* port, Journal& journal);
