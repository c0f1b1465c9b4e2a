#pragma once

#include <memory>
#include <vector>

#include "link/Delivery.h"
#include "link/FileRows.h"
#include "link/FrameWriter.h"

namespace tunevale::link {

/// Files on their way in. One that was cut off goes on where it stopped, in a later process too. Nothing of
/// the other end's names becomes a path. Strand only.
class FileReceiver {
 public:
  FileReceiver(LinkStore& store, Delivery& delivery, std::shared_ptr<Spool> spool)
      : store_(store), delivery_(delivery), spool_(std::move(spool)) {}

  /// Delivers what an earlier process received.
  void deliverReceived();
  bool fillAcknowledgements(FrameWriter& frames);
  Objection didReceiveBegin(const Frame& frame);
  Objection didReceiveData(const Frame& frame);
  void didReceiveCancel(const Frame& frame);
  /// The application has handled something: a file may come in that waited for room.
  Objection makeRoom();
  /// The other end numbers anew.
  void forget();
  void connectionDidClose();

 private:
  struct Partial {
    std::uint64_t number = 0;
    std::uint64_t size = 0;
    Bytes32 hash{};
    PlistDictionary metadata;
    std::string name;
    std::unique_ptr<SpoolFile> file;
    Sha256 received;          // of what is in the file
    bool fromBefore = false;  // its beginning was there already, and may not be what it should be
    bool isHeld = false;      // not answered yet, for want of room
  };
  struct Owed {
    FrameType type;
    std::uint64_t number;
    PlistDictionary body;
  };
  void open(const Epoch& epoch);
  /// The other end forgets it when it reads that; the cursor stays, so that until then it offers it again.
  /// The connection goes on: null.
  Objection refuse(std::uint64_t number, ErrorCode code);
  Objection completeIfWhole();
  Objection keepWhole();
  void deliver(std::uint64_t id, Arrival arrival, const FileRow& row);

  LinkStore& store_;
  Delivery& delivery_;
  const std::shared_ptr<Spool> spool_;
  std::unique_ptr<Partial> partial_;
  std::vector<Owed> owed_;
  std::uint64_t refused_ = 0;  // the last one in this connection: more of it may be on its way
};

}  // namespace tunevale::link
