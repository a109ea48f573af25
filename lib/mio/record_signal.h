#pragma once

#include <ks/signal.h>

namespace mio {

/// A signal that is a member of a copyable record: copying the record leaves both records' connections as
/// they are.
template <class Signature>
class RecordSignal : public ks::Signal<Signature> {
 public:
  RecordSignal() noexcept = default;
  RecordSignal(const RecordSignal&) noexcept : ks::Signal<Signature>() {}
  RecordSignal& operator=(const RecordSignal&) noexcept { return *this; }
  ~RecordSignal() = default;
};

}  // namespace mio
