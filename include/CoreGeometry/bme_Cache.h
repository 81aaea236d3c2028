// bme_Cache.h: members that are not copied with their owner: derived data and a change count
#pragma once

/// Data derived from its owner, with a flag for its validity. A copy starts invalid and empty, so that
/// copying the owner does not copy it.
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

/// Number of changes of its owner: it starts at 1, also in a copy, and only grows. Assigning to the owner
/// counts as a change.
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
