#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Mutex.h"
#include "host/PlistExtent.h"
#include "host/ThreadQueue.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

namespace tunevale::host {

/// User defaults in one binary property list. Values are read from memory; changes are written on a thread of
/// its own at once when that is idle, else together with what follows, always the file as a whole, so that a
/// crash leaves the state before or after a write. What the disk does not take (it is full) stays in memory
/// and is tried again with the next change; the log says so once until a write succeeds again. A value takes
/// at most an eighth of what can be read back, so that the few keys there are never crowd one another out:
/// 131,071 parts (see kMostNodes), 63 levels, 32 MiB. The path belongs to one object at a time.
class DefaultsFile : public UserDefaults {
 public:
  /// Reads the file; none means no defaults. The folder must exist. A file that is no property list of a
  /// dictionary, or has more than 256 MiB, is put aside as PATH.damaged-N with a line in the log, and the
  /// defaults start empty.
  DefaultsFile(std::string path, Log& log);
  /// Writes what is not yet written.
  ~DefaultsFile() override = default;

  std::optional<PlistValue> objectForKey(std::string_view key) override;
  bool setObject(std::optional<PlistValue> value, std::string_view key) override;
  void synchronize() override;
  bool synchronizeAndWait() override;

 private:
  void load();
  void putAside();
  /// Whether all that was stored is on the disk now.
  bool write();

  const std::string path_;
  Log& log_;
  Mutex mutex_;
  PlistDictionary values_ GUARDED_BY(mutex_);
  PlistExtent extent_ GUARDED_BY(mutex_);  // of values_
  std::uint64_t changes_ GUARDED_BY(mutex_) = 0;
  bool writeIsDue_ GUARDED_BY(mutex_) = false;
  std::uint64_t written_ = 0;   // of the changes; on the queue only
  bool failureLogged_ = false;  // on the queue only
  ThreadQueue queue_{"defaults"};
};

}  // namespace tunevale::host
