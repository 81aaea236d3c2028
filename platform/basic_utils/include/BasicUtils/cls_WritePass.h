// cls_WritePass.h: one all-or-nothing change of a database
#pragma once

#include <BasicUtils/cls_Database.h>

class db_Writer;

/// One write pass = one transaction: everything put and removed becomes visible with Commit(), or nothing.
/// Objects held by counted handles are stored once per pass; an object put by reference is written anew each
/// time. A Put that throws leaves the pass as it was before it.
///
/// Errors     as cls_Database; wip_Cancelled when the host asked to stop.
class CORE_GEOMETRY_PLATFORM_API cls_WritePass {
public:
  explicit cls_WritePass(cls_Database& database);
  ~cls_WritePass(); ///< rolls back unless committed
  cls_WritePass(const cls_WritePass&) = delete;
  cls_WritePass& operator=(const cls_WritePass&) = delete;

  /// Stores the object under the name. The previous object is deleted unless it is still referenced.
  template<class T> void Put(const cow_String& root, const T& object) {
    PutReference(root, &object, &WriteAs<T>);
  }
  template<class T> void Put(const cow_String& root, const cow_CountedHld<T>& object) {
    PutShared(root, object.Shared(), &WriteAs<T>);
  }
  template<class T, class Policy> void Put(const cow_String& root, const cow_COW<T, Policy>& object) {
    Put(root, object.Holder());
  }
  /// An object must live until it is written: a temporary object does not compile, a temporary handle does.
  template<class T>
  requires(!requires(const T& handle) { handle.IsNull(); }) void Put(const cow_String& root,
                                                                     const T&& object) = delete;

  /// Stores what another database has under that name under the same one, whatever its class is, in its current
  /// layout.
  void Copy(const cls_Database& from, const cow_String& root);

  void Remove(const cow_String& root);

  /// Stores a row of any known layout, old ones included, and returns its id; rows that no root reaches at
  /// Commit are deleted again.
  long long PutRow(unsigned typeId, int version, const cls_Row& row);
  long long PutRow(const cow_String& root, unsigned typeId, int version, const cls_Row& row);

  /// A commit that fails, also with cls_BusyException, has rolled back all changes; repeat the whole pass.
  void Commit();

private:
  using WriteFunction = void (*)(const void* object, const cls_WriteVisitor&);
  template<class T> static void WriteAs(const void* object, const cls_WriteVisitor& visitor) {
    static_cast<const T*>(object)->DBWrite(visitor);
  }
  void PutReference(const cow_String& root, const void* object, WriteFunction write);
  void PutShared(const cow_String& root, std::shared_ptr<const void> object, WriteFunction write);

  std::unique_ptr<db_Writer> writer_;
};
