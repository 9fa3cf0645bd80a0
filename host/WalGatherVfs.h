#pragma once
// An SQLite file layer over the system's own that gathers the write-ahead log's writes. SQLite
// writes each log frame as two writes (its 24-byte header, then the page), so a commit of a
// received mail costs some thirty system calls; here the frames of a commit go out as one write,
// made before the commit becomes visible to any reader. Every other file passes straight through.

namespace kvmail::host {

// The layer's name for an SQLite URI ("?vfs="), registered on first use; empty when SQLite has
// no default layer to stand on.
const char* walGatherVfsName();

}  // namespace kvmail::host
