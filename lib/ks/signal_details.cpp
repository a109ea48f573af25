#include <ks/signal_details.h>

#include <utility>

namespace ks::signal_details {

SlotHolderBase::SlotHolderBase() = default;
SlotHolderBase::~SlotHolderBase() = default;

void SlotHolderBase::disconnect() {
  signal_->disconnect(*this);
}

bool SlotHolderBase::connected() const {
  return signal_->isConnected(*this);
}

SignalImplBase::SignalImplBase() = default;
SignalImplBase::~SignalImplBase() = default;

void SignalImplBase::insert(const Tal::SmartPointer<SlotHolderBase>& slot, int group) {
  slot->signal_ = this;
  slot->group_ = group;
  const std::lock_guard lock(mutex_);
  slot->emissionAtConnection_ = emissionCounter_;
  SlotHolderBase* before = last_;
  while (before != nullptr && before->group_ > group) before = before->previous_;
  slot->previous_ = before;
  slot->next_ = before != nullptr ? before->next_ : first_;
  (before != nullptr ? before->next_ : first_) = slot.get();
  (slot->next_ != nullptr ? slot->next_->previous_ : last_) = slot.get();
  slot->incRef();
  ++connectedCount_;
}

void SignalImplBase::disconnectAll() {
  SlotHolderBase* unused = nullptr;  // a chain through next_, which unlinked slots no longer need
  {
    const std::lock_guard lock(mutex_);
    for (SlotHolderBase* slot = last_; slot != nullptr;) {
      SlotHolderBase* const previous = slot->previous_;
      if (!slot->isDisconnected() && markDisconnected(*slot)) {
        slot->next_ = std::exchange(unused, slot);
      }
      slot = previous;
    }
  }
  while (unused != nullptr) dispose(*std::exchange(unused, unused->next_));
}

void SignalImplBase::disconnect(SlotHolderBase& slot) {
  {
    const std::lock_guard lock(mutex_);
    if (slot.isDisconnected() || !markDisconnected(slot)) return;
  }
  dispose(slot);
}

bool SignalImplBase::markDisconnected(SlotHolderBase& slot) noexcept {
  slot.useCount_ |= SlotHolderBase::kDisconnected;
  --connectedCount_;
  if (slot.isInUse()) return false;  // its last user disposes of it
  unlink(slot);
  return true;
}

bool SignalImplBase::isConnected(const SlotHolderBase& slot) const {
  const std::lock_guard lock(mutex_);
  return !slot.isDisconnected();
}

bool SignalImplBase::release(SlotHolderBase& slot) noexcept {
  --slot.useCount_;
  if (slot.isInUse() || !slot.isDisconnected()) return false;
  unlink(slot);
  return true;
}

void SignalImplBase::unlink(SlotHolderBase& slot) noexcept {
  (slot.previous_ != nullptr ? slot.previous_->next_ : first_) = slot.next_;
  (slot.next_ != nullptr ? slot.next_->previous_ : last_) = slot.previous_;
}

void SignalImplBase::dispose(SlotHolderBase& slot) noexcept {
  slot.destroyCallback();
  slot.decRef();
}

SignalImplBase::Emission::Emission(SignalImplBase& signal) : signal_(signal) {
  const std::lock_guard lock(signal_.mutex_);
  if (signal_.connectedCount_ == 0) return;
  number_ = ++signal_.emissionCounter_;
  current_ = nextToCall(signal_.first_);
  if (current_ != nullptr) ++current_->useCount_;
}

SignalImplBase::Emission::~Emission() {
  // Reached with a slot only when its callback threw.
  if (current_ == nullptr) return;
  bool isUnlinked = false;
  {
    const std::lock_guard lock(signal_.mutex_);
    isUnlinked = signal_.release(*current_);
  }
  if (isUnlinked) dispose(*current_);
}

void SignalImplBase::Emission::next() {
  while (SlotHolderBase* const left = step()) {
    dispose(*left);
    // The callback that was destroyed may have disconnected the slot whose turn it is.
    const std::lock_guard lock(signal_.mutex_);
    if (current_ == nullptr || !current_->isDisconnected()) return;
  }
}

SlotHolderBase* SignalImplBase::Emission::step() {
  SlotHolderBase* const left = current_;
  const std::lock_guard lock(signal_.mutex_);
  current_ = nextToCall(left->next_);
  if (current_ != nullptr) ++current_->useCount_;
  return signal_.release(*left) ? left : nullptr;
}

SlotHolderBase* SignalImplBase::Emission::nextToCall(SlotHolderBase* from) const noexcept {
  // A slot connected during this emission carries its number, or that of an emission raised within it.
  while (from != nullptr && (from->isDisconnected() || from->emissionAtConnection_ >= number_))
    from = from->next_;
  return from;
}

}  // namespace ks::signal_details
