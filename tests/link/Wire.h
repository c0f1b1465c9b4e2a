#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <utility>

#include "link/Strand.h"
#include "link/Stream.h"

namespace tunevale::link {

/// Hears nothing of what its stream brings.
struct Deaf : StreamReceiver {
  void streamDidRead(ByteView) override {}
  void streamDidWrite() override {}
  void streamDidEnd(const std::string&) override {}
};

/// A way between two streams through which every byte goes, and on which things go wrong when the test wants
/// it.
class Wire {
 public:
  struct Faults {
    std::size_t slice = 0;                  // bytes that arrive at once; 0: all
    Duration delay{};                       // of every slice
    std::optional<std::size_t> cutAfter{};  // bytes, both directions together
  };

  explicit Wire(Strand& strand) : Wire(strand, Faults{}) {}
  Wire(Strand& strand, Faults faults) : state_(std::make_shared<State>(strand, faults)) {}

  /// One end each, once.
  std::unique_ptr<Stream> takeFirst() { return std::make_unique<StreamEnd>(state_, 0); }
  std::unique_ptr<Stream> takeSecond() { return std::make_unique<StreamEnd>(state_, 1); }

  /// Both ends hear that it broke.
  void cut() { state_->cut(); }
  /// From now on nothing arrives, and nobody is told.
  void swallow(bool everything) { state_->swallowing = everything; }
  std::size_t bytesCarried() const { return state_->carried; }

 private:
  struct State : std::enable_shared_from_this<State> {
    struct End {
      StreamReceiver* receiver = nullptr;
      Bytes arriving;
      bool reading = true;
      bool closed = false;
      bool writing = false;
      std::unique_ptr<Timer> timer;
    };

    State(Strand& where, Faults what) : strand(where), faults(what) {}

    void write(std::size_t side, Bytes bytes) {
      if (broken) return;
      ends.at(side).writing = true;
      Bytes& arriving = ends.at(1 - side).arriving;
      if (!swallowing) arriving.insert(arriving.end(), bytes.begin(), bytes.end());
      schedule(1 - side);
    }

    void schedule(std::size_t side) {
      if (ends.at(side).timer != nullptr) return;
      ends.at(side).timer = strand.after(faults.delay, [this, side] {
        const auto self = shared_from_this();
        ends.at(side).timer.reset();
        carry(side);
      });
    }

    void carry(std::size_t side) {
      End& end = ends.at(side);
      End& other = ends.at(1 - side);
      if (broken || (!end.reading && !end.closed && !end.arriving.empty())) return;
      std::size_t count =
          std::min(faults.slice == 0 ? end.arriving.size() : faults.slice, end.arriving.size());
      if (faults.cutAfter) count = std::min(count, *faults.cutAfter - carried);
      carried += count;
      const auto rest = end.arriving.begin() + static_cast<std::ptrdiff_t>(count);
      const Bytes slice(end.arriving.begin(), rest);
      end.arriving.erase(end.arriving.begin(), rest);
      if (end.receiver != nullptr && !slice.empty()) end.receiver->streamDidRead(slice);
      if (faults.cutAfter && carried >= *faults.cutAfter) {
        cut();
      } else if (!end.arriving.empty()) {
        schedule(side);
      } else if (std::exchange(other.writing, false) && other.receiver != nullptr) {
        other.receiver->streamDidWrite();
      }
      if (other.closed && !swallowing && end.arriving.empty()) finish(end);
    }

    static void finish(End& end) {
      if (StreamReceiver* receiver = std::exchange(end.receiver, nullptr)) receiver->streamDidEnd("cut");
    }

    void cut() {
      broken = true;
      finish(ends[0]);
      finish(ends[1]);
    }

    void close(std::size_t side) {
      End& end = ends.at(side);
      if (end.closed) return;
      end.closed = true;
      end.receiver = nullptr;
      schedule(1 - side);  // the other end reads what is left and then learns it
    }

    Strand& strand;
    const Faults faults;
    std::array<End, 2> ends;
    std::size_t carried = 0;
    bool broken = false;
    bool swallowing = false;
  };

  class StreamEnd : public Stream {
   public:
    StreamEnd(std::shared_ptr<State> state, std::size_t side) : state_(std::move(state)), side_(side) {}
    ~StreamEnd() override { state_->close(side_); }
    void start(StreamReceiver& receiver) override {
      state_->ends.at(side_).receiver = &receiver;
      state_->schedule(side_);
    }
    void write(Bytes bytes) override { state_->write(side_, std::move(bytes)); }
    void setReading(bool reading) override {
      state_->ends.at(side_).reading = reading;
      if (reading) state_->schedule(side_);
    }
    void close() override { state_->close(side_); }

   private:
    const std::shared_ptr<State> state_;
    const std::size_t side_;
  };

  const std::shared_ptr<State> state_;
};

}  // namespace tunevale::link
