// cli_Points.h: points as the user gives them, and what is told about the elements at them
#pragma once

#include "cli_Command.h"
#include "cli_Model.h"

#include <CoreGeometry/shp_ElementSearch.h>
#include <optional>

/// X,Y,Z on the command line, again and again, and a file with --points.
class cli_PointArguments {
public:
  void AddTo(cli_Command command);
  /// Those of the command line, three values each. Throws cli_UsageError, also when there is no file either.
  std::vector<double> Given() const;
  std::vector<double> OfFile() const; ///< nex_TextException naming file and line; nothing without a file
  static void ExpectSome(std::span<const double> points); ///< throws cli_UsageError
  std::vector<double> Points() const;                     ///< all of them

private:
  std::vector<std::string> coordinates_;
  std::string file_;
};

/// An element at a point, or near it.
struct cli_ElementAt {
  cli_Json element; ///< label, index, class and type
  shp_Location location = shp_Location::Outside;
  shp_IsoPoint iso{};
  double distance = 0;
};

/// What is told about one point.
struct cli_PointAnswer {
  std::array<double, 3> point{};
  shp_Location location = shp_Location::Outside;
  std::vector<cli_ElementAt> owners{};
  std::optional<cli_ElementAt> nearest{}; ///< of a point outside, where there is an element
};

/// Prints answers, one after the other, as text or as one JSON document.
class cli_PointReport {
public:
  cli_PointReport(const std::string& file, const cow_String& mesh, long long notFinite, long long noShape,
                  bool isJson);
  void Add(const cli_PointAnswer& answer);
  void End();

private:
  std::optional<cli_JsonStream> json_;
  long long notFinite_, noShape_;
};
