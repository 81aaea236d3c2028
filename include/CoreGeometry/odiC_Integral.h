// odiC_Integral.h: values integrated over elements
#pragma once

#include <CoreGeometry/odiC_Values.h>

/// Integrals of a frame over the elements of one dimension.
struct odiC_IntegralOf {
  odiC_When when;
  int dims = 3;                    ///< 3: over volumes, 2: areas, 1: lengths
  std::vector<double> integrals{}; ///< of each component
  double measure = 0;              ///< volume, area or length; elements that are inside out count negative
  long long numElements = 0;
  std::vector<int> inverted{}; ///< labels of elements that are inside out
  long long notNumbers = 0;    ///< elements left out, since a value at a node is not a number

  double Mean(std::size_t component) const { return integrals[component] / measure; } ///< over the measure
};

/// Sums of f_i times the integral of the shape function of node i, over the curved elements, with the values at element
/// nodes: those of the nodes, or of the element as odiC_Values::AtElementNodes gives them. Frame by frame, in a frame
/// first volumes, then areas, then lengths; never added to one another. Sums are exact and rounded once. There is no
/// thickness, and axisymmetric elements have the area of their section.
///
/// Errors     odiC_Exception for several section points, of which none was chosen.
CORE_GEOMETRY_API std::vector<odiC_IntegralOf> odiC_Integrate(const odiC_Values& values);

/// Integrals of a frame over the faces of a surface.
struct odiC_FaceIntegralOf {
  odiC_When when;
  std::vector<double> integrals{}; ///< of each component, or the flux alone
  double area = 0;
  long long numFaces = 0;
  long long notNumbers = 0; ///< faces left out, since a value is missing or not a number
};

/// Over a surface of the mesh by its name: values at nodes, or at the nodes of the element that has the face. With
/// `flux` of vectors f the integral of f . n, n to the outside of solids and to the side of a shell that is meant. Five Gauss points in each direction: exact for the flux through faces of any shape here, and for areas of
/// flat faces.
///
/// Errors     odiC_Exception for a set that is no surface, for the flux of values that are no vectors, and for several
///            section points.
CORE_GEOMETRY_API std::vector<odiC_FaceIntegralOf>
odiC_IntegrateFaces(const odiC_Values& values, const cow_String& surface, bool flux = false);
