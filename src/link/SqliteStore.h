#pragma once

#include <memory>
#include <string>

#include "link/KeyHash.h"
#include "link/LinkStore.h"

namespace tunevale::link {

struct StoreState;

/// A store in one file (mode 0600), which survives the process and the power. Whoever has it open has it
/// alone. The folder must exist.
class SqliteStore : public LinkStore {
 public:
  struct Options {
    std::string path;  // empty: in memory, gone with the store
    std::string vfs;   // SQLite's way to the disk, for tests; empty: the usual one
  };
  /// `fresh`: the epoch if the file is a new one. Throws std::runtime_error with a reason of one line when
  /// the file cannot be used: damaged, open elsewhere, of a later version.
  SqliteStore(const Options& options, const Epoch& fresh);
  ~SqliteStore() override;

  /// The paired end's key; nothing while unpaired. Does not wait for the disk.
  std::optional<KeyHash> pin() const;
  /// Pairs. With another key than the one before, that pairing ends in the same step, as by unpair(), and
  /// this gives what that gives; otherwise nothing was unsent. Nothing when it could not be done.
  std::optional<Unsent> setPin(const KeyHash& key);

  Epoch epoch() const override;
  bool takeReadFailure() override;
  std::optional<std::uint64_t> append(Queue queue, ByteView body) override;
  std::optional<Row> firstFrom(Queue queue, std::uint64_t number) const override;
  bool remove(Queue queue, std::uint64_t number, bool delivered) override;
  std::vector<Row> acknowledge(Queue queue, std::uint64_t below) override;
  std::uint64_t nextNumber(Queue queue) const override;
  bool canWaitFor(Queue queue, std::uint64_t next) const override;
  bool canHaveContext(std::uint64_t version) const override;
  bool setSending(bool sending) override;
  Row context() const override;
  std::uint64_t contextVersion() const override;
  bool setContext(const Row& context) override;
  bool peerIsLocked() const override;
  bool setPeerLocked(bool locked) override;
  Cursor cursor() const override;
  bool restart(const Cursor& cursor) override;
  std::optional<std::uint64_t> receive(Queue queue, std::span<const Row> rows) override;
  bool receiveContext(const Row& context) override;
  bool refuseItem(const Cursor::Refusal& refusal) override;
  bool forgetRefusals(std::size_t count) override;
  std::vector<Received> received(Queue queue) const override;
  std::optional<Row> receivedContext() const override;
  void removeReceived(std::uint64_t id) override;
  void contextWasHandled(const Arrival& arrival) override;
  void flush() override;
  std::optional<Unsent> unpair() override;

 private:
  std::unique_ptr<StoreState> state_;
};

}  // namespace tunevale::link
