// py_Model.h: model files
#pragma once

#include "py_Work.h"

#include <BasicUtils/cls_Database.h>
#include <mutex>

/// An open model. The mutex is taken only while the GIL is not held.
struct py_Database {
  cls_Database database;
  std::mutex mutex;
  explicit py_Database(cls_Database opened) : database(std::move(opened)) {}
};

/// Without the GIL, and with the model for this thread alone.
template<class Call> auto py_UseModel(py_Database& self, Call call) {
  return py_Run([&] {
    const std::lock_guard lock(self.mutex);
    return call(self.database);
  });
}

void py_BindModel(nanobind::module_& module);
