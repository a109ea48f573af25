#pragma once

#include <ks/connection.h>
#include <ks/signal_details.h>

#include <atomic>
#include <functional>
#include <utility>

namespace ks {

template <class Signature, class Combiner = OptionalLastValue<void>>
class Signal;

/// A list of callbacks that one event calls. A signal that nothing ever connected to takes one pointer.
///
/// Connecting, disconnecting and raising are thread-safe. Do not release or destroy the signal while another
/// thread uses it. One of its callbacks may do so, and other threads may be using its handles.
template <class... Args>
class Signal<void(Args...), OptionalLastValue<void>> {
 public:
  using Impl = signal_details::SignalImpl<void(Args...), OptionalLastValue<void>>;

  Signal() noexcept = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  ~Signal() {
    // A callback that is destroyed here may connect once more.
    while (impl_.load(std::memory_order_acquire) != nullptr) release();
  }

  /// Adds a callback and returns its owner, which disconnects it. Slots run in ascending group order, then in
  /// order of connection. A callback that is connected during a raise is first called by the next one. An
  /// empty function is never called.
  Connection connect(std::function<void(Args...)> callback, int group = 0) {
    const Tal::SmartPointer<signal_details::SlotHolderBase> slot(new
                                                                 typename Impl::Slot(std::move(callback)));
    impl().insert(slot, group);
    return Connection(slot);
  }

  /// Calls every connected callback on this thread before returning. Callbacks may connect, disconnect, raise
  /// again or destroy the signal; a slot that is disconnected meanwhile is not called. An exception ends the
  /// raise.
  void operator()(const Args&... args) const {
    const Tal::SmartPointer<Impl> held(impl_.load(std::memory_order_acquire));
    if (held) held->emit(args...);
  }

  /// Disconnects every slot, then destroys the callbacks; the signal is then as new.
  void release() noexcept {
    Impl* const released = impl_.exchange(nullptr, std::memory_order_acq_rel);
    if (released == nullptr) return;
    released->disconnectAll();
    released->decRef();
  }

 private:
  Impl& impl() {
    Impl* existing = impl_.load(std::memory_order_acquire);
    if (existing != nullptr) return *existing;
    Impl* const made = new Impl;
    made->incRef();
    if (impl_.compare_exchange_strong(existing, made, std::memory_order_acq_rel)) return *made;
    made->decRef();  // another thread was first
    return *existing;
  }

  std::atomic<Impl*> impl_{nullptr};
};

}  // namespace ks
