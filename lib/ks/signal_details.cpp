#include <ks/signal_details.h>

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
  while (true) {
    SlotHolderBase* slot = nullptr;
    {
      const std::lock_guard lock(mutex_);
      for (slot = first_; slot != nullptr && slot->isDisconnected();) slot = slot->next_;
      if (slot == nullptr) return;
      slot->incRef();
    }
    disconnect(*slot);
    slot->decRef();
  }
}

void SignalImplBase::disconnect(SlotHolderBase& slot) {
  {
    const std::lock_guard lock(mutex_);
    if (slot.isDisconnected()) return;
    slot.useCount_ |= SlotHolderBase::kDisconnected;
    --connectedCount_;
    if (slot.isInUse()) return;  // its last user disposes of it
    unlink(slot);
  }
  dispose(slot);
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
  SlotHolderBase* const left = current_;
  bool isUnlinked = false;
  {
    const std::lock_guard lock(signal_.mutex_);
    current_ = nextToCall(left->next_);
    if (current_ != nullptr) ++current_->useCount_;
    isUnlinked = signal_.release(*left);
  }
  if (isUnlinked) dispose(*left);
}

SlotHolderBase* SignalImplBase::Emission::nextToCall(SlotHolderBase* from) const noexcept {
  // A slot connected during this emission carries its number, or that of an emission raised within it.
  while (from != nullptr && (from->isDisconnected() || from->emissionAtConnection_ >= number_))
    from = from->next_;
  return from;
}

}  // namespace ks::signal_details
