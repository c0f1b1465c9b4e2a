#include "link/MemoryStore.h"

#include <algorithm>
#include <cstring>

#include "link/LinkLimits.h"
#include "link/Strand.h"

namespace tunevale::link {

Epoch newEpoch(Strand& strand) {
  Epoch bits{};
  for (std::size_t i = 0; i < bits.size(); i += sizeof(std::uint64_t)) {
    const std::uint64_t word = strand.random();
    std::memcpy(&bits[i], &word, sizeof(word));
  }
  return bits;
}

std::optional<std::uint64_t> MemoryStore::append(Queue queue, Bytes body) {
  const MutexLock lock(mutex_);
  Outgoing& out = outgoing(queue);
  if (out.rows.size() >= kMostQueuedRows || out.bytes + body.size() > kMostQueuedBytes) return std::nullopt;
  out.bytes += body.size();
  out.rows.emplace(out.next, std::move(body));
  return out.next++;
}

std::optional<Row> MemoryStore::firstFrom(Queue queue, std::uint64_t number) const {
  const MutexLock lock(mutex_);
  const Outgoing& out = outgoing(queue);
  const auto row = out.rows.lower_bound(number);
  if (row == out.rows.end()) return std::nullopt;
  return Row{row->first, row->second};
}

bool MemoryStore::remove(Queue queue, std::uint64_t number) {
  const MutexLock lock(mutex_);
  Outgoing& out = outgoing(queue);
  const auto row = out.rows.find(number);
  if (row == out.rows.end()) return false;
  out.bytes -= row->second.size();
  out.rows.erase(row);
  return true;
}

std::uint64_t MemoryStore::nextNumber(Queue queue) const {
  const MutexLock lock(mutex_);
  return outgoing(queue).next;
}

Row MemoryStore::context() const {
  const MutexLock lock(mutex_);
  return context_;
}

std::uint64_t MemoryStore::contextVersion() const {
  const MutexLock lock(mutex_);
  return context_.number;
}

void MemoryStore::setContext(Row context) {
  const MutexLock lock(mutex_);
  context_ = std::move(context);
}

Cursor MemoryStore::cursor() const {
  const MutexLock lock(mutex_);
  return cursor_;
}

void MemoryStore::restart(const Cursor& cursor) {
  const MutexLock lock(mutex_);
  cursor_ = cursor;
}

bool MemoryStore::receive(Queue queue, Row row) {
  skip(queue, row.number);
  return true;
}

bool MemoryStore::receiveContext(Row context) {
  const MutexLock lock(mutex_);
  cursor_.context = context.number;
  return true;
}

void MemoryStore::skip(Queue queue, std::uint64_t number) {
  const MutexLock lock(mutex_);
  std::uint64_t& next = cursor_.next(queue);
  next = std::max(next, number + 1);
}

}  // namespace tunevale::link
