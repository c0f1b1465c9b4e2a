#include "link/StoreFacts.h"

#include <algorithm>
#include <stdexcept>

#include "foundation/PropertyList.h"

namespace tunevale::link {
namespace {

constexpr const char* kTables = R"(
  CREATE TABLE facts (
    one INTEGER PRIMARY KEY CHECK (one = 1), epoch BLOB NOT NULL, pin BLOB,
    item_next INTEGER NOT NULL, item_acknowledged INTEGER NOT NULL, item_sent INTEGER NOT NULL,
    file_next INTEGER NOT NULL, file_acknowledged INTEGER NOT NULL, file_sent INTEGER NOT NULL,
    context_version INTEGER NOT NULL, context_sent INTEGER NOT NULL,
    peer_epoch BLOB, peer_item INTEGER NOT NULL, peer_file INTEGER NOT NULL, peer_context INTEGER NOT NULL,
    peer_locked INTEGER NOT NULL, peer_refused BLOB) STRICT;
  CREATE TABLE items (number INTEGER PRIMARY KEY, body BLOB NOT NULL) STRICT;
  CREATE TABLE files (number INTEGER PRIMARY KEY, body BLOB NOT NULL) STRICT;
  CREATE TABLE received (
    id INTEGER PRIMARY KEY, queue INTEGER NOT NULL, epoch BLOB NOT NULL, number INTEGER NOT NULL,
    body BLOB NOT NULL) STRICT;
  CREATE TABLE contexts (
    received INTEGER PRIMARY KEY, version INTEGER NOT NULL, body BLOB NOT NULL, handled INTEGER NOT NULL) STRICT;
  PRAGMA user_version = 1)";

template <std::size_t size>
std::optional<std::array<std::byte, size>> fixed(ByteView bytes) {
  std::optional<std::array<std::byte, size>> value;
  if (bytes.size() == size) std::copy(bytes.begin(), bytes.end(), value.emplace().begin());
  return value;
}

template <class Value>
ByteView optionalBytes(const std::optional<Value>& value) {
  return value ? ByteView(*value) : ByteView{};
}

/// Numbers and codes in turn.
Bytes writeRefusals(const std::vector<Cursor::Refusal>& refused) {
  PlistArray list;
  for (const Cursor::Refusal& one : refused) {
    list.append(static_cast<std::int64_t>(one.number));
    list.append(one.code);
  }
  return refused.empty() ? Bytes{} : writePropertyList(list);
}

std::vector<Cursor::Refusal> readRefusals(ByteView bytes) {
  std::vector<Cursor::Refusal> refused;
  const std::optional<PlistValue> value = readPropertyList(bytes);
  const PlistArray* list = value ? value->array() : nullptr;
  for (std::size_t i = 0; list != nullptr && i + 1 < list->size(); i += 2) {
    refused.push_back({static_cast<std::uint64_t>(list->begin()[i].integer().value_or(0)),
                       static_cast<int>(list->begin()[i + 1].integer().value_or(0))});
  }
  return refused;
}

}  // namespace

void makeStoreTables(Database& database, const Epoch& fresh) {
  const std::string version = database.ask("PRAGMA user_version").value_or("");
  if (version == "1") return;
  if (version != "0") throw std::runtime_error("the link's store is of a later version of this program");
  database.require("BEGIN");
  database.require(kTables);
  StoreFacts facts;
  facts.epoch = fresh;
  if (!FactsTable(database).write(facts)) database.fail();
  database.require("COMMIT");
}

FactsTable::FactsTable(Database& database)
    : read_(database.handle(),
            "SELECT epoch, pin, item_next, item_acknowledged, item_sent, file_next, file_acknowledged, "
            "file_sent, context_version, context_sent, peer_epoch, peer_item, peer_file, peer_context, "
            "peer_locked, peer_refused "
            "FROM facts"),
      write_(database.handle(),
             "INSERT OR REPLACE INTO facts VALUES (1, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)") {}

StoreFacts FactsTable::read() {
  if (!read_.step()) throw std::runtime_error("the link's store cannot be read");
  StoreFacts facts;
  const auto epoch = fixed<sizeof(Epoch)>(read_.bytes(0));
  facts.pin = fixed<sizeof(KeyHash)>(read_.bytes(1));
  facts.items = {read_.number(2), read_.number(3), read_.number(4)};
  facts.files = {read_.number(5), read_.number(6), read_.number(7)};
  facts.contextVersion = read_.number(8);
  facts.contextSent = read_.number(9);
  facts.cursor.epoch = fixed<sizeof(Epoch)>(read_.bytes(10));
  facts.cursor.nextItem = read_.number(11);
  facts.cursor.nextFile = read_.number(12);
  facts.cursor.context = read_.number(13);
  facts.peerLocked = read_.number(14) != 0;
  facts.cursor.refused = readRefusals(read_.bytes(15));
  read_.reset();
  if (!epoch) throw std::runtime_error("the link's store is damaged");
  facts.epoch = *epoch;
  return facts;
}

bool FactsTable::write(const StoreFacts& facts) {
  int column = 0;
  const auto add = [&](auto value) { write_.bind(++column, value); };
  add(ByteView(facts.epoch));
  add(optionalBytes(facts.pin));
  for (const StoreFacts::Numbers& numbers : {facts.items, facts.files}) {
    add(numbers.next);
    add(numbers.acknowledged);
    add(numbers.sent);
  }
  add(facts.contextVersion);
  add(facts.contextSent);
  add(optionalBytes(facts.cursor.epoch));
  add(facts.cursor.nextItem);
  add(facts.cursor.nextFile);
  add(facts.cursor.context);
  add(std::uint64_t{facts.peerLocked});
  const Bytes refused = writeRefusals(facts.cursor.refused);
  add(ByteView(refused));
  return write_.run();
}

}  // namespace tunevale::link
