#pragma once

#include <optional>
#include <string>

#include "host/FileDescriptor.h"

namespace tunevale::host {

/// The folder in which the watch keeps everything, for one process at a time.
class HomeFolder {
 public:
  /// $XDG_DATA_HOME/tunevale-watch, or $HOME/.local/share/tunevale-watch (XDG base directories);
  /// nothing when the environment names neither.
  static std::optional<std::string> defaultPath();

  /// Makes the folder where it is missing (mode 0700, parents too), its `Documents` and its
  /// `Library/Preferences`, claims it until the object goes, and removes what a crash left half-written.
  /// Throws std::runtime_error with a line for the person when it cannot be used or another process has it.
  explicit HomeFolder(const std::string& path);

  /// Absolute, without a final slash, links resolved.
  const std::string& path() const { return path_; }
  std::string defaultsPath() const { return path_ + "/Library/Preferences/com.tunevale.watch.plist"; }

 private:
  std::string path_;
  FileDescriptor lock_;
};

}  // namespace tunevale::host
