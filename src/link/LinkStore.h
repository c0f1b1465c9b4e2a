#pragma once

#include <span>
#include <vector>

#include "link/CrashPoint.h"
#include "link/StoreTypes.h"

namespace tunevale::link {

/// What one end keeps until the other end, or its own application, has it. Numbers begin at 1 and rise; those
/// of removed rows are not used again. What a call says it has changed is kept, whatever happens to the
/// process or the power. False or nothing: it could not be kept, and nothing has changed; but where a disk
/// failed in the middle, the next process may find it kept. Any thread.
class LinkStore {
 public:
  virtual ~LinkStore() = default;
  virtual Epoch epoch() const = 0;
  /// Whether reading has failed since this was last asked: what was said not to be there may be.
  virtual bool takeReadFailure() = 0;

  /// Queues a row to send and gives its number; nothing when the queue is full, too.
  virtual std::optional<std::uint64_t> append(Queue queue, ByteView body) = 0;
  /// The first row to send with at least this number.
  virtual std::optional<Row> firstFrom(Queue queue, std::uint64_t number) const = 0;
  /// Also false when there is no such row. `delivered`: the other end does not wait for it any more.
  virtual bool remove(Queue queue, std::uint64_t number, bool delivered) = 0;
  /// The other end has everything below this number: removes these rows, some at a time, and gives what it
  /// has removed. Empty when there are no more.
  virtual std::vector<Row> acknowledge(Queue queue, std::uint64_t below) = 0;
  /// The number that the next append() gives.
  virtual std::uint64_t nextNumber(Queue queue) const = 0;
  /// Whether the other end can wait for this number, or have this context, if its store and this one are what
  /// they were: it never waits for what it has acknowledged, nor has more than was ever to be sent to it.
  virtual bool canWaitFor(Queue queue, std::uint64_t next) const = 0;
  virtual bool canHaveContext(std::uint64_t version) const = 0;
  /// Rows and contexts, those that are there and those that come, may be sent from now on, or no longer.
  virtual bool setSending(bool sending) = 0;

  /// The context to send, with its version; a version of 0 is no context.
  virtual Row context() const = 0;
  virtual std::uint64_t contextVersion() const = 0;
  virtual bool setContext(const Row& context) = 0;

  /// Whether the other end waits to be unlocked, as it has said last; false at first.
  virtual bool peerIsLocked() const = 0;
  virtual bool setPeerLocked(bool locked) = 0;

  virtual Cursor cursor() const = 0;
  /// Forgets how far the other end's former numbering went. Received rows stay.
  virtual bool restart(const Cursor& cursor) = 0;
  /// Keeps received rows and moves the cursor past them, all in one step. Gives the id of the first; the
  /// others follow it.
  virtual std::optional<std::uint64_t> receive(Queue queue, std::span<const Row> rows) = 0;
  /// The same for the received context, in the place of the one before.
  virtual bool receiveContext(const Row& context) = 0;
  /// Moves the cursor past an item that is refused, and remembers that it was.
  virtual bool refuseItem(const Cursor::Refusal& refusal) = 0;
  /// The other end knows of the first `count` refusals.
  virtual bool forgetRefusals(std::size_t count) = 0;

  /// What a former process received and did not handle, in its order; all of it is `again`.
  virtual std::vector<Received> received(Queue queue) const = 0;
  virtual std::optional<Row> receivedContext() const = 0;
  /// The application has handled it. Kept by the next flush(), or the end of this store.
  virtual void removeReceived(std::uint64_t id) = 0;
  /// No matter by now when a later one has come, or the other end numbers anew.
  virtual void contextWasHandled(const Arrival& arrival) = 0;
  virtual void flush() = 0;

  /// Ends the pairing: pin, cursor, queues and contexts go in one step, the epoch is a new one. Gives the
  /// numbers of the rows that were still to be sent, items first; nothing when it could not be done.
  struct Unsent {
    bool wasPaired = false;
    std::vector<std::uint64_t> items;
    std::vector<std::uint64_t> files;
  };
  virtual std::optional<Unsent> unpair() = 0;

  /// For tests, which may let the process die here.
  virtual void passes(CrashPoint) {}
};

}  // namespace tunevale::link
