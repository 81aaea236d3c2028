// bme_Cache.h: what a copy of its owner does not take over: derived content, a count of changes
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

/// How often its owner has changed: 1 for a new one, also for a copy. It only grows: being assigned to is a
/// change.
struct bme_ChangeCount {
  unsigned count = 1;

  bme_ChangeCount() = default;
  bme_ChangeCount(const bme_ChangeCount&) {}
  bme_ChangeCount& operator=(const bme_ChangeCount& other) {
    if (this != &other) ++count;
    return *this;
  }
  ~bme_ChangeCount() = default;
};
