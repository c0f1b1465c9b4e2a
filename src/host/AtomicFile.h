#pragma once

#include <optional>
#include <string>

#include "foundation/Bytes.h"
#include "platform/FileManager.h"

namespace tunevale::host {

/// Puts a file (mode 0600) in the place of whatever file or link is at the path: written beside it, synced,
/// renamed, the folder synced. A crash or power cut at any moment leaves the old file or the new one, and a
/// return without error means that the new one survives it. The folder must exist. Any thread.
std::optional<FileError> writeFileAtomically(ByteView contents, const std::string& path);

/// A path in a folder for a file that lasts no longer than this process, unlike any other that it was given.
std::string temporaryPath(const std::string& folder);

/// Removes such files, and what such writes left under a folder, at any depth, when the process died. Only
/// while nothing writes there. Does not follow links; what cannot be removed is left.
void removeUnfinishedWrites(const std::string& folder);

/// "cannot OPEN PATH: REASON" for a failed system call.
FileError systemFileError(const std::string& what, const std::string& path, int errorNumber);

}  // namespace tunevale::host
