// cls_MetadataRegistrar.h: the functions that describe the persistent classes
#pragma once

#include <BasicUtils/cls_ClassRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <atomic>

/// Describes one class to the registry.
using cls_MetadataFunction = void (*)(cls_ClassRegistrar&);

/// Collects the metadata functions of the modules and builds the class registry from them on demand. Use
/// omi_Singleton<cls_MetadataRegistrar>::Instance(). It is created on first use; modules may be started after
/// the registry was built.
///
/// Threads    Registry() is safe from any thread: the first call builds it under the global lock, while other
///            threads wait; later it is read without a lock. Modules may be started and stopped only while no
///            other thread calls it.
class CORE_GEOMETRY_PLATFORM_API cls_MetadataRegistrar {
public:
  /// Stores the function, to be called at the next call of Registry(). The number is always 7.
  void initClassMetadata(cls_MetadataFunction function, unsigned number);
  /// A function that is called after the pending ones each time the registry is brought up to date.
  void AddSource(cls_MetadataFunction source);
  void SourceChanged() noexcept { isUpToDate_.store(false, std::memory_order_release); }

  /// The registry, after the pending functions have run.
  cls_ClassRegistrar& Registry();
  std::size_t NumFunctions() const noexcept { return functions_.size(); }
  void Clear(); ///< forgets the functions and every record

private:
  std::vector<cls_MetadataFunction> functions_;
  std::size_t next_ = 0;
  std::vector<cls_MetadataFunction> sources_;
  cls_ClassRegistrar registry_;
  std::atomic<bool> isUpToDate_{false};
};
