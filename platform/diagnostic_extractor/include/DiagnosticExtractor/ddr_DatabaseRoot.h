// ddr_DatabaseRoot.h: the database in which shortcuts of this thread are resolved
#pragma once

#include <BasicUtils/cls_Database.h>

/// The calling thread's current database.
class CORE_GEOMETRY_PLATFORM_API ddr_DatabaseRoot {
public:
  /// Throws nex_TextException when none is bound.
  static cls_Database& Current();
  static bool IsBound() noexcept;

  /// Binds a database to the thread for the lifetime of this object; scopes may be nested.
  class CORE_GEOMETRY_PLATFORM_API Scope {
  public:
    explicit Scope(cls_Database& database) noexcept;
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

  private:
    cls_Database* outer_;
  };
};
