#include <BasicUtils/cls_ReadView.h>

#include "db_Reader.h"

cls_ReadView::cls_ReadView(const cls_Database& database)
    : reader_(std::make_unique<db_Reader>(db_Access::FileOf(database))) {}
cls_ReadView::~cls_ReadView() = default;
