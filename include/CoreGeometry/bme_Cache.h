// bme_Cache.h: something derived that a copy of its owner builds anew
#pragma once

/// Derived content and whether it is valid. A copy starts invalid and empty: copying an owner costs nothing
/// for it.
template<class Content> struct bme_Cache {
  bool isValid = false;
  Content content;

  bme_Cache() = default;
  bme_Cache(const bme_Cache&) {}
  bme_Cache& operator=(const bme_Cache& other) {
    if (this != &other) {
      isValid = false;
      content = Content();
    }
    return *this;
  }
  ~bme_Cache() = default;
};
