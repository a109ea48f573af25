#pragma once

#include <ks/connection.h>
#include <ks/signal_details.h>

#include <atomic>
#include <functional>
#include <utility>

namespace ks {

template <class Signature, class Combiner = OptionalLastValue<void>>
class Signal;

/// A list of callbacks that one event calls. A signal nobody ever connected to costs one pointer.
///
/// Connecting, disconnecting and raising are safe on any threads at the same time; releasing (and destroying)
/// the signal is not safe beside another thread's use of the signal itself, but is safe within one of its own
/// callbacks and beside any use of a handle.
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

  /// Adds a callback and returns its owner: releasing that disconnects. Slots run in ascending group order,
  /// in connection order within a group. A callback connected while the signal is being raised is first
  /// called by the next raise. An empty function is kept and never called.
  Connection connect(std::function<void(Args...)> callback, int group = 0) {
    const Tal::SmartPointer<signal_details::SlotHolderBase> slot(new
                                                                 typename Impl::Slot(std::move(callback)));
    impl().insert(slot, group);
    return Connection(slot);
  }

  /// Calls every connected callback on this thread, before returning. Callbacks may connect, disconnect,
  /// raise again, or destroy the signal: a slot disconnected meanwhile is not called any more. What a
  /// callback throws ends the raise.
  void operator()(const Args&... args) const {
    const Tal::SmartPointer<Impl> held(impl_.load(std::memory_order_acquire));
    if (held) held->emit(args...);
  }

  /// Disconnects everything, then destroys the callbacks, and forgets the state; the signal is then as new.
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
