// thr_ThreadSingleton.h: one instance per thread
#pragma once

#include <BasicUtils/omi_Singleton.h>
#include <memory>

/// Holds the calling thread's instance of one type. Slots are found by type name, see omi_SingletonSlot.
struct thr_ThreadSlot {
  std::shared_ptr<void> object;
};
CORE_GEOMETRY_PLATFORM_API thr_ThreadSlot& thr_FindThreadSlot(const char* typeName);

/// The calling thread's instance of T, created on first use and destroyed with the thread, or before by
/// Release() or by the finaliser that ReleaseAtFinalise registers, whichever comes first.
template<class T> class thr_ThreadSingleton {
public:
  static T& Instance() {
    thr_ThreadSlot& slot = Slot();
    if (!slot.object) Create(slot);
    return *static_cast<T*>(slot.object.get());
  }

  /// Destroys the calling thread's instance if there is one.
  static void Release() { Slot().object.reset(); }

private:
  /// T may name a destruct level: its instances are then destroyed when the BasicUtils library is finalised.
  static void Create(thr_ThreadSlot& slot) {
    const std::lock_guard lock(omi_GlobalLock());
    if constexpr (requires { T::kDestructLevel; }) {
      struct Finalised {
        T object;
        omi_SingletonRegistry::Ticket ticket = 0;
        ~Finalised() { omi_SingletonRegistry::Withdraw(ticket); }
      };
      auto made = std::make_shared<Finalised>();
      made->ticket = omi_SingletonRegistry::Register([&slot] { slot.object.reset(); }, T::kDestructLevel);
      slot.object = std::shared_ptr<T>(made, &made->object);
    } else {
      slot.object = std::make_shared<T>();
    }
  }

  static thr_ThreadSlot& Slot() {
    static thread_local thr_ThreadSlot& slot = thr_FindThreadSlot(typeid(T).name());
    return slot;
  }
};
