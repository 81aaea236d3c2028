// dtu_StoredFields.h: the field lists that derived datums start with
#pragma once

#include <CoreGeometry/dtu_DatumCsys.h>
#include <cls_Fields.h>

constexpr auto dtu_Datum::StoredFields() {
  return cls_Fields{cls_Field{"_datum_type", &dtu_Datum::datumType_},
                    cls_Field{"_feat_id", &dtu_Datum::featId_},
                    cls_Field{"_inst_feat_id", &dtu_Datum::instFeatId_}};
}

constexpr auto dtu_DatumCsys::StoredFields() {
  return dtu_Datum::StoredFields()
         + cls_Fields{
             cls_Field{"_origin", &dtu_DatumCsys::origin_}, cls_Field{"_x_axis", &dtu_DatumCsys::xAxis_},
             cls_Field{"_y_axis", &dtu_DatumCsys::yAxis_}, cls_Field{"_z_axis", &dtu_DatumCsys::zAxis_},
             cls_Field{"_csysType", &dtu_DatumCsys::csysType_}};
}
