#include <ks/connection.h>
#include <ks/signal_details.h>

#include <utility>

namespace ks {

Connection::Connection() noexcept = default;
Connection::Connection(Tal::SmartPointer<signal_details::SlotHolderBase> slot) noexcept
    : slot_(std::move(slot)) {}
Connection::Connection(Connection&& other) noexcept = default;

Connection& Connection::operator=(Connection&& other) noexcept {
  // The new slot is taken first: destroying the old callback may reach this handle again, or destroy the
  // other.
  Connection replaced(std::exchange(slot_, std::exchange(other.slot_, nullptr)));
  return *this;
}

Connection::~Connection() {
  disconnect();
}

bool Connection::connected() const {
  return slot_ && slot_->connected();
}

void Connection::disconnect() {
  // The slot is taken first: destroying its callback may reach this handle again.
  const auto slot = std::exchange(slot_, nullptr);
  if (slot) slot->disconnect();
}

void Connection::detach() noexcept {
  slot_ = nullptr;
}

}  // namespace ks
