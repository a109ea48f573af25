#pragma once

/// What fault_shim.cpp offers to a program that is linked with it. A program that is not is told by its
/// environment: FAULT_BELOW, FAULT_TRACE, FAULT_OPERATION, FAULT_NUMBER, FAULT_ERRNO, FAULT_LASTING,
/// FAULT_LARGEST_WRITE, each as the member of that name.
extern "C" {

struct FaultOrder {
  const char* below;        ///< only calls about files in and below this folder (a resolved path) count
  const char* trace;        ///< a file to which a line "OPERATION NAME" is appended for each of them; or null
  const char* operation;    ///< the operation that is to fail, as it stands in the trace; null for none
  int number;               ///< the first of its calls that fails, counted from 1
  int code;                 ///< the errno that it fails with
  int lasting;              ///< whether all later calls of the operation fail too
  int largestWrite;         ///< a write takes no more bytes than this and comes back short; 0 for no limit
  void (*meanwhile)(void);  ///< done before the one call that would fail, which then does not; null for none
};

/// Puts an order in the place of the one before. The texts are copied.
void faultShimArm(const FaultOrder* order);

/// Ends the order; how many calls of its operation there were.
int faultShimDisarm(void);

}  // extern "C"
