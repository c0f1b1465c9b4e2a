#pragma once

#include <array>

namespace tunevale::link {

/// Moments at which a process that dies must lose nothing and repeat nothing. Tests let it die there.
enum class CrashPoint {
  appendBeforeCommit,  // the sender: a user info, a context or a file is queued
  appendAfterCommit,
  itemFilled,  // an item is in the batch that is written next
  ackBeforeRemoval,
  ackAfterRemoval,
  receiveBeforeCommit,  // the receiver: user infos or a file
  receiveRowBeforeCursor,
  receiveAfterCommit,
  ackFilled,
  handlerBefore,
  handlerAfter,
  removalBeforeCommit,
  removalAfterCommit,
  contextBeforeCommit,
  contextAfterCommit,
  fileCopied,  // the sender: beside the queue, not in it yet
  fileOffered,
  fileChunkSent,
  fileRowRemoved,
  filePartOpened,  // the receiver
  fileChunkKept,
  fileWhole,
  fileSynced,
  fileRenamed,
  fileRemoved,
};

inline constexpr std::array kCrashPointNames = {
    "append-before-commit", "append-after-commit",   "item-filled",
    "ack-before-removal",   "ack-after-removal",     "receive-before-commit",
    "receive-row",          "receive-after-commit",  "ack-filled",
    "handler-before",       "handler-after",         "removal-before-commit",
    "removal-after-commit", "context-before-commit", "context-after-commit",
    "file-copied",          "file-offered",          "file-chunk-sent",
    "file-row-removed",     "file-part-opened",      "file-chunk-kept",
    "file-whole",           "file-synced",           "file-renamed",
    "file-removed"};

}  // namespace tunevale::link
