#include <CoreGeometry/odiC_Field.h>

#include "odiC_Fields.h"

constexpr auto odiC_Field::StoredFields() {
  return cls_Fields{
      cls_Field{"step", &odiC_Field::step},         cls_Field{"frame", &odiC_Field::frame},
      cls_Field{"variable", &odiC_Field::variable}, cls_Field{"layout", &odiC_Field::layout},
      cls_Field{"storage", &odiC_Field::storage},   cls_Field{"low", &odiC_Field::low},
      cls_Field{"high", &odiC_Field::high},         cls_Field{"numNotNumbers", &odiC_Field::numNotNumbers},
      cls_Field{"floats", &odiC_Field::floats},     cls_Field{"doubles", &odiC_Field::doubles},
      cls_Field{"integers", &odiC_Field::integers}};
}
template class odiC_Stored<odiC_Field>;

constexpr auto odiC_History::StoredFields() {
  return cls_Fields{
      cls_Field{"name", &odiC_History::name},         cls_Field{"description", &odiC_History::description},
      cls_Field{"variable", &odiC_History::variable}, cls_Field{"position", &odiC_History::position},
      cls_Field{"region", &odiC_History::region},     cls_Field{"label", &odiC_History::label},
      cls_Field{"point", &odiC_History::point},       cls_Field{"domainValues", &odiC_History::domainValues},
      cls_Field{"values", &odiC_History::values}};
}
template class odiC_Stored<odiC_History>;

odiC_Field::odiC_Field(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (int{!floats.IsEmpty()} + int{!doubles.IsEmpty()} + int{!integers.IsEmpty()} > 1)
    visitor.Refuse("a field has numbers of several kinds");
  if (low.size() != high.size())
    visitor.Refuse("a field has " + std::to_string(low.size()) + " least and " + std::to_string(high.size())
                   + " largest numbers");
}

odiC_History::odiC_History(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (domainValues.size() != values.size())
    visitor.Refuse("history \"" + name + "\" has " + std::to_string(values.size()) + " values at "
                   + std::to_string(domainValues.size()) + " places");
}
