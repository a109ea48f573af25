#pragma once

#include <core/smart_pointer.h>

namespace ks {

namespace signal_details {
class SlotHolderBase;
}  // namespace signal_details

/// The owner of one connected slot: releasing it disconnects the slot. It may outlive the signal; every
/// operation is then still safe and says that nothing is connected. One handle is used on one thread at a
/// time; different handles of one signal may be used on different threads.
class [[nodiscard]] Connection {
 public:
  /// A handle of nothing.
  Connection() noexcept;
  explicit Connection(Tal::SmartPointer<signal_details::SlotHolderBase> slot) noexcept;
  Connection(Connection&& other) noexcept;
  Connection& operator=(Connection&& other) noexcept;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  /// True while the slot is called by emissions; false for a handle of nothing.
  bool connected() const;

  /// Ends the connection: the slot is not called again, except that a call running at this moment on another
  /// thread is not waited for. Nothing happens the second time. The callback is destroyed here, or at the end
  /// of its own call.
  void disconnect();

  /// Lets go of the slot without disconnecting it: it stays connected as long as its signal lives.
  void detach() noexcept;

 private:
  Tal::SmartPointer<signal_details::SlotHolderBase> slot_;
};

}  // namespace ks
