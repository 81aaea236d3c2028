// omi_Singleton.h: process-wide instances, the global lock and the registry of finalisers
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <atomic>
#include <functional>
#include <mutex>
#include <typeinfo>

/// The application's global lock: taken around the creation and release of singletons.
CORE_GEOMETRY_PLATFORM_API std::recursive_mutex& omi_GlobalLock();

/// Holds one process-wide instance. Slots are found by type name, so every shared library and the program
/// see the same instance although each instantiates the template by itself.
struct omi_SingletonSlot {
  std::atomic<void*> object{nullptr};
};
CORE_GEOMETRY_PLATFORM_API omi_SingletonSlot& omi_FindSingletonSlot(const char* typeName);

/// The process-wide instance of T, created on first use and releasable.
///
/// Threads    Instance() is safe from any thread; Release() only when nobody uses the instance.
template<class T> class omi_Singleton {
public:
  static T& Instance() {
    omi_SingletonSlot& slot = Slot();
    if (void* object = slot.object.load(std::memory_order_acquire)) return *static_cast<T*>(object);
    const std::lock_guard lock(omi_GlobalLock());
    if (!slot.object.load(std::memory_order_relaxed)) slot.object.store(new T, std::memory_order_release);
    return *static_cast<T*>(slot.object.load(std::memory_order_relaxed));
  }

  /// Destroys the instance if there is one; the next Instance() makes a new one with the initial values.
  static void Release() {
    const std::lock_guard lock(omi_GlobalLock());
    delete static_cast<T*>(Slot().object.exchange(nullptr));
  }

private:
  static omi_SingletonSlot& Slot() {
    static omi_SingletonSlot& slot = omi_FindSingletonSlot(typeid(T).name());
    return slot;
  }
};

/// Finalisers of singletons, run when the BasicUtils library is finalised: higher destruct levels first,
/// later registrations first within a level.
///
/// Threads    safe from any thread.
class CORE_GEOMETRY_PLATFORM_API omi_SingletonRegistry {
public:
  using Ticket = unsigned long long;

  static Ticket Register(std::function<void()> finaliser, int destructLevel);
  /// Withdraws a finaliser that has not run yet (its instance is gone already).
  static void Withdraw(Ticket ticket);
  /// Runs and removes every finaliser.
  static void RunFinalisers();
};
