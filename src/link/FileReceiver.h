#pragma once

#include <fstream>
#include <memory>
#include <vector>

#include "link/Delivery.h"
#include "link/FrameWriter.h"
#include "link/LinkStore.h"

namespace tunevale::link {

/// Files on their way in. One that was cut off goes on where it stopped. Nothing of the other end's names
/// becomes a path. Strand only.
class FileReceiver {
 public:
  FileReceiver(Strand& strand, LinkStore& store, Delivery& delivery, std::string folder)
      : strand_(strand), store_(store), delivery_(delivery), folder_(std::move(folder)) {}

  bool fillAcknowledgements(FrameWriter& frames);
  /// These are false when the connection cannot go on.
  bool didReceiveBegin(const Frame& frame);
  bool didReceiveData(const Frame& frame);
  void didReceiveCancel(const Frame& frame);
  /// The other end numbers anew.
  void forget();
  void connectionDidClose() { owed_.clear(); }

 private:
  struct Partial {
    std::uint64_t number = 0;
    std::uint64_t size = 0;
    std::uint64_t received = 0;
    PlistDictionary metadata;
    std::string path;
    std::ofstream file;
  };
  struct Owed {
    FrameType type;
    std::uint64_t number;
    PlistDictionary body;
  };
  void refuse(std::uint64_t number, ErrorCode code);
  bool completeIfWhole();
  std::string newPath();

  Strand& strand_;
  LinkStore& store_;
  Delivery& delivery_;
  const std::string folder_;
  std::unique_ptr<Partial> partial_;
  std::vector<Owed> owed_;
};

}  // namespace tunevale::link
