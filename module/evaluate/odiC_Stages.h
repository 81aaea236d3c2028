// odiC_Stages.h: the stages that values are made of
#pragma once

#include <CoreGeometry/odiC_Complex.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_Source.h>

/// Stored rows; of a complex variable what is shown of both planes, one number a row of a peak.
odiC_SourcePointer odiC_AsStored(odiC_FieldReader reader, odiC_Places places);
odiC_SourcePointer odiC_Shown(odiC_FieldReader reader, odiC_Places places, odiC_ComplexDisplay display);
odiC_SourcePointer odiC_PeakOf(odiC_FieldReader reader, odiC_Places places, odiC_Peak peak);

/// Some of the places of a source.
odiC_SourcePointer odiC_Restricted(odiC_SourcePointer from, odiC_Places places);

/// Of several section points of a place the value of largest absolute value, with its sign; of equal ones that of the
/// point nearer to the bottom. One number a row.
odiC_SourcePointer odiC_Envelope(const odiC_Run& run, odiC_SourcePointer from);
bool odiC_HasSeveralSectionPoints(const odiC_Places& places);

/// Values of whole elements at every row of another layout in their classes, such as axes at integration points, and
/// values of nodes in every group of elements that has a mean there. They may also be at the same places as those rows.
bool odiC_CanSpread(const odiC_Layout& layout); ///< whether all its values are of those two kinds
odiC_SourcePointer odiC_Spread(odiC_SourcePointer from, const odiC_Places::Layout& layout);

/// Between two frames: a + share (b - a) at the places of both. Integers are those of the nearer frame, and unit
/// quaternions keep their length.
enum class odiC_Between { Linear, Nearer, Quaternions };
odiC_SourcePointer odiC_Interpolated(odiC_SourcePointer a, odiC_SourcePointer b, double share,
                                     odiC_Between how);

/// The places of all layouts together: blocks of the same kind with all their entities.
odiC_Places::Layout odiC_UnionLayout(std::span<const odiC_Places::Layout> layouts);
/// The block of all entities of some blocks of one kind.
odiC_LayoutBlock odiC_UnionBlock(std::span<const odiC_LayoutBlock* const> blocks);
/// Whether two blocks hold values of the same kind of places.
bool odiC_AreOfOneKind(const odiC_LayoutBlock& a, const odiC_LayoutBlock& b);

class odiC_Values;
/// Values of elements at their nodes, whatever they come as; values at nodes stay.
odiC_Values odiC_AtElementNodes(const odiC_Values& values);
