// py_Tables.h: findings, differences and losses as the classes of _tables.py
#pragma once

#include "py_Errors.h"

#include <BasicUtils/cls_Diff.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/fmt_Ledger.h>

nb::list py_Findings(const std::vector<chk_Finding>& findings);
nb::list py_Differences(const std::vector<cls_Difference>& differences);
nb::list py_Losses(const fmt_Ledger& ledger);
