// omi_Btree.h: the ordered map of the library
#pragma once

#include <map>

/// Ordered map: insert, find, in-order walk, count.
template<class Key, class Value> using omi_Btree = std::map<Key, Value>;
