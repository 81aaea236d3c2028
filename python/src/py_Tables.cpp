// What checks find, and how two models or files differ, as the classes of _tables.py.
#include "py_Tables.h"

nb::list py_Findings(const std::vector<chk_Finding>& findings) {
  const nb::object type = nb::module_::import_("coregeometry._tables").attr("Finding");
  nb::list list;
  for (const chk_Finding& finding : findings)
    list.append(type(finding.weight == cls_Finding::Weight::Fault ? "fault" : "note", finding.root,
                     finding.className, finding.object, finding.field, finding.what, finding.advice,
                     nb::tuple(nb::cast(finding.labels)), finding.count));
  return list;
}

nb::list py_Differences(const std::vector<cls_Difference>& differences) {
  const nb::object type = nb::module_::import_("coregeometry._tables").attr("Difference");
  nb::list list;
  for (const cls_Difference& difference : differences)
    list.append(
        type(difference.place, difference.first, difference.second, difference.numbers, difference.largest));
  return list;
}

nb::list py_Losses(const fmt_Ledger& ledger) {
  const nb::object type = nb::module_::import_("coregeometry._tables").attr("Loss");
  nb::list list;
  for (const fmt_LedgerEntry& entry : ledger)
    list.append(
        type(entry.detail.empty() ? entry.what : entry.what + " (" + entry.detail + ")", entry.count));
  return list;
}
