#include <BasicUtils/omi_Singleton.h>

#include <map>
#include <string>

namespace {
// Never destroyed: singletons may be asked for until the very end of the process.
struct Registry {
  std::recursive_mutex lock;
  std::map<std::string, omi_SingletonSlot, std::less<>> slots;
  struct Key {
    int level;
    omi_SingletonRegistry::Ticket ticket;
    bool operator<(const Key& other) const {
      return level != other.level ? level > other.level : ticket > other.ticket;
    }
  };
  std::map<Key, std::function<void()>> finalisers;
  omi_SingletonRegistry::Ticket lastTicket = 0;
};
Registry& TheRegistry() {
  static auto* registry = new Registry;
  return *registry;
}
} // namespace

std::recursive_mutex& omi_GlobalLock() { return TheRegistry().lock; }

omi_SingletonSlot& omi_FindSingletonSlot(const char* typeName) {
  const std::lock_guard lock(omi_GlobalLock());
  return TheRegistry().slots[typeName];
}

omi_SingletonRegistry::Ticket omi_SingletonRegistry::Register(std::function<void()> finaliser,
                                                              int destructLevel) {
  const std::lock_guard lock(omi_GlobalLock());
  Registry& registry = TheRegistry();
  registry.finalisers[{destructLevel, ++registry.lastTicket}] = std::move(finaliser);
  return registry.lastTicket;
}

void omi_SingletonRegistry::Withdraw(Ticket ticket) {
  const std::lock_guard lock(omi_GlobalLock());
  std::erase_if(TheRegistry().finalisers, [&](const auto& entry) { return entry.first.ticket == ticket; });
}

void omi_SingletonRegistry::RunFinalisers() {
  const std::lock_guard lock(omi_GlobalLock());
  auto& finalisers = TheRegistry().finalisers;
  while (!finalisers.empty()) {
    const auto next = finalisers.extract(finalisers.begin());
    next.mapped()();
  }
}
