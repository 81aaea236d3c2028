// ThrownBy.h: the message of what a call throws
#pragma once

#include <BasicUtils/nex_Exception.h>

constexpr const char* kNothingThrown = "(nothing was thrown)";

template<class E = nex_Exception, class F> cow_String ThrownBy(F&& call) {
  try {
    call();
  } catch (const E& failure) {
    return failure.Message();
  }
  return kNothingThrown;
}
