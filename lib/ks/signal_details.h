#pragma once

#include <core/reference_count.h>
#include <core/smart_pointer.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>

namespace ks {

/// What the results of a signal's slots are combined into: the last one, if any slot was called.
template <class Result>
struct OptionalLastValue;

/// Slots without a result leave nothing to combine.
template <>
struct OptionalLastValue<void> {
  using result_type = void;
};

namespace signal_details {

class SignalImplBase;

/// One connected slot, without its callback. The signal's set holds one reference, each handle another, and
/// it holds one on the signal's state; the signal's release breaks that circle. Its fields are guarded by the
/// signal's mutex.
class SlotHolderBase : public Tal::SafeReferenceCount {
 public:
  /// Ends the connection; see Connection::disconnect.
  void disconnect();

  /// True while emissions call this slot.
  bool connected() const;

 protected:
  SlotHolderBase();
  ~SlotHolderBase() override;

  /// Destroys the callback; called once, outside the mutex, when no emission uses the slot any more.
  virtual void destroyCallback() noexcept = 0;

 private:
  friend class SignalImplBase;
  static constexpr std::uint32_t kDisconnected = 0x80000000U;

  bool isDisconnected() const noexcept { return (useCount_ & kDisconnected) != 0; }
  bool isInUse() const noexcept { return (useCount_ & ~kDisconnected) != 0; }

  Tal::SmartPointer<SignalImplBase> signal_;
  SlotHolderBase* previous_ = nullptr;
  SlotHolderBase* next_ = nullptr;
  std::uint64_t emissionAtConnection_ = 0;
  std::uint32_t useCount_ = 0;  // how many emissions stand on the slot; the top bit marks it disconnected
  int group_ = 0;
};

/// The state of one signal, without its signature: the ordered set of slots and the emission counter.
/// Everything is guarded by its mutex, which is never held while a callback runs or is destroyed.
class SignalImplBase : public Tal::SafeReferenceCount {
 public:
  /// Puts the slot behind all slots of its group: groups run in ascending order, a group in order of
  /// connection.
  void insert(const Tal::SmartPointer<SlotHolderBase>& slot, int group);

  /// Disconnects every slot before any callback is destroyed; called when the signal is released.
  void disconnectAll();

 protected:
  SignalImplBase();
  ~SignalImplBase() override;

  /// One walk over the slots that were connected before it began. The slot that it stands on stays in the
  /// set, so the walk goes on whatever callbacks connect, disconnect or raise meanwhile.
  class Emission {
   public:
    explicit Emission(SignalImplBase& signal);
    ~Emission();
    Emission(const Emission&) = delete;
    Emission& operator=(const Emission&) = delete;

    /// The slot to call; null at the end.
    SlotHolderBase* slot() const noexcept { return current_; }

    /// Leaves the current slot for the next one.
    void next();

   private:
    SlotHolderBase* nextToCall(SlotHolderBase* from) const noexcept;
    /// Steps to the next slot. The slot that was left is returned when it is to be disposed of, else null.
    SlotHolderBase* step();

    SignalImplBase& signal_;
    std::uint64_t number_ = 0;
    SlotHolderBase* current_ = nullptr;
  };

 private:
  friend class SlotHolderBase;

  void disconnect(SlotHolderBase& slot);
  bool isConnected(const SlotHolderBase& slot) const;
  /// Marks a connected slot as disconnected, mutex held; true when no emission uses it: it is then unlinked,
  /// and the caller has to dispose of it after the mutex is released.
  bool markDisconnected(SlotHolderBase& slot) noexcept;
  /// Drops one use of a slot, mutex held; true when the caller has to dispose of it after the mutex is
  /// released.
  bool release(SlotHolderBase& slot) noexcept;
  void unlink(SlotHolderBase& slot) noexcept;
  /// Destroys the callback of an unlinked slot and drops the set's reference; mutex not held.
  static void dispose(SlotHolderBase& slot) noexcept;

  mutable std::mutex mutex_;
  SlotHolderBase* first_ = nullptr;
  SlotHolderBase* last_ = nullptr;
  std::size_t connectedCount_ = 0;
  std::uint64_t emissionCounter_ = 0;
};

template <class Signature, class Callback>
class RegularSlotHolder;

/// A slot together with its callback.
template <class... Args, class Callback>
class RegularSlotHolder<void(Args...), Callback> final : public SlotHolderBase {
 public:
  explicit RegularSlotHolder(Callback callback)
      : callback_(std::move(callback)), hasCallback_(callback_ != nullptr) {}

  void call(const Args&... args) const {
    if (hasCallback_) callback_(args...);
  }

 private:
  void destroyCallback() noexcept override {
    hasCallback_ = false;
    callback_ = nullptr;
  }

  Callback callback_;
  bool hasCallback_;
};

template <class Signature, class Combiner>
class SignalImpl;

/// The state of one signal of the given signature.
template <class... Args>
class SignalImpl<void(Args...), OptionalLastValue<void>> final : public SignalImplBase {
 public:
  using Slot = RegularSlotHolder<void(Args...), std::function<void(Args...)>>;

  /// Calls every slot in order; see Signal::operator().
  void emit(const Args&... args) {
    for (Emission emission(*this); emission.slot() != nullptr; emission.next()) {
      static_cast<const Slot*>(emission.slot())->call(args...);
    }
  }
};

}  // namespace signal_details
}  // namespace ks
