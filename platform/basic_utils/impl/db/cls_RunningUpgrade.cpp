#include <BasicUtils/cls_RunningUpgrade.h>

#include "db_Writer.h"

namespace {
thread_local const cls_RunningUpgrade* theUpgrade = nullptr;
}

cls_RunningUpgrade::cls_RunningUpgrade(const cls_Database& database, db_Writer& writer) noexcept
    : database_(database), writer_(writer) {
  theUpgrade = this;
}

cls_RunningUpgrade::~cls_RunningUpgrade() { theUpgrade = nullptr; }

const cls_RunningUpgrade* cls_RunningUpgrade::Current() noexcept { return theUpgrade; }

void cls_RunningUpgrade::PutReference(const cow_String& root, const void* object,
                                      void (*write)(const void* object, const cls_WriteVisitor&)) const {
  writer_.Put(root, object, write);
}
