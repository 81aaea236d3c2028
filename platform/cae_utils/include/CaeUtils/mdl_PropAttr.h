// mdl_PropAttr.h: an attribute that is handed on from one model to what is made of it
#pragma once

#include <utility>

/// A value and whether it propagates to models that are made from its owner.
template<class Value> struct mdl_PropAttr {
  Value value{};
  bool propagate = false;

  /// What a model made from the owner gets: the value when it propagates, an empty one otherwise.
  mdl_PropAttr Propagated() const { return propagate ? *this : mdl_PropAttr{}; }
  friend bool operator==(const mdl_PropAttr&, const mdl_PropAttr&) = default;
};
