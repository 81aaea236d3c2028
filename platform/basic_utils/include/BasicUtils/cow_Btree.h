// cow_Btree.h: the ordered, shared tree of the library
#pragma once

#include <BasicUtils/cow_Map.h>

/// Ordered and shared like cow_Map, which implements both.
template<class Key, class Value, class Less = std::less<Key>> using cow_Btree = cow_Map<Key, Value, Less>;
