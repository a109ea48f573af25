#pragma once

#include <core/smart_pointer.h>

namespace ks {

namespace signal_details {
class SlotHolderBase;
}  // namespace signal_details

/// The owner of one connected slot: destroying it disconnects the slot. It may outlive the signal and is then
/// not connected. A handle is used on one thread at a time, different handles of a signal on any threads.
class [[nodiscard]] Connection {
 public:
  /// An empty handle.
  Connection() noexcept;
  explicit Connection(Tal::SmartPointer<signal_details::SlotHolderBase> slot) noexcept;
  Connection(Connection&& other) noexcept;
  Connection& operator=(Connection&& other) noexcept;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  /// True while emissions call the slot; false for an empty handle.
  bool connected() const;

  /// Ends the connection: the slot is not called again. A call that is running on another thread is not
  /// waited for. The callback is destroyed here, or at the end of its own call. Calling this again has no
  /// effect.
  void disconnect();

  /// Releases the slot without disconnecting it: it stays connected as long as its signal lives.
  void detach() noexcept;

 private:
  Tal::SmartPointer<signal_details::SlotHolderBase> slot_;
};

}  // namespace ks
