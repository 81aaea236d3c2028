// cls_MetadataRegistrar.h: the functions that describe the persistent classes
#pragma once

#include <BasicUtils/cls_ClassRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <atomic>

/// Describes one class to the registry.
using cls_MetadataFunction = void (*)(cls_ClassRegistrar&);

/// Collects the metadata functions that modules hand over and builds the class registry from them on demand.
/// Use omi_Singleton<cls_MetadataRegistrar>::Instance(). Exists on first use; modules may come up after the
/// registry was built.
///
/// Threads    Registry() is safe from any thread: the first to ask builds it under the global lock, the
///            others wait, and later it is read without a lock. Modules come up and go down while no other
///            thread asks.
class CORE_GEOMETRY_PLATFORM_API cls_MetadataRegistrar {
public:
  /// Remembers the function; it is called when the registry is next asked for. The number is always 7.
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
