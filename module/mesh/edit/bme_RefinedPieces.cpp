#include "bme_RefinedPieces.h"

namespace {
/// Half the size, one at each corner: of lines, quadrilaterals, hexahedra.
std::vector<bme_Piece> CornerPieces(const bme_Piece& corners) {
  std::vector<bme_Piece> pieces;
  for (const shp_IsoPoint& corner : corners) {
    bme_Piece piece;
    for (const shp_IsoPoint& other : corners) piece.push_back(bme_Middle(corner, other));
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

/// Those at the corners, and the one between them.
std::vector<bme_Piece> TrianglePieces(const bme_Piece& c) {
  std::vector<bme_Piece> pieces = CornerPieces(c);
  pieces.push_back({bme_Middle(c[0], c[1]), bme_Middle(c[1], c[2]), bme_Middle(c[2], c[0])});
  return pieces;
}

/// Four at the corners, and three times the four of the octahedron between them, about each of its diagonals.
std::vector<bme_Piece> TetrahedronPieces(const bme_Piece& c) {
  std::vector<bme_Piece> pieces = CornerPieces(c);
  const auto mid = [&](std::size_t a, std::size_t b) { return bme_Middle(c[a], c[b]); };
  // a diagonal from the middle of one edge to that of the opposite one, and the loop about it
  const shp_IsoPoint diagonals[3][6] = {{mid(0, 1), mid(2, 3), mid(0, 2), mid(1, 2), mid(1, 3), mid(0, 3)},
                                        {mid(1, 2), mid(0, 3), mid(0, 1), mid(0, 2), mid(2, 3), mid(1, 3)},
                                        {mid(0, 2), mid(1, 3), mid(1, 2), mid(0, 1), mid(0, 3), mid(2, 3)}};
  for (const auto& d : diagonals)
    for (std::size_t k = 0; k < 4; ++k) {
      const shp_IsoPoint &a = d[0], &b = d[1], &from = d[2 + k], &to = d[2 + (k + 1) % 4];
      double m[3][3];
      for (std::size_t i = 0; i < 3; ++i) {
        m[0][i] = b[i] - a[i];
        m[1][i] = from[i] - a[i];
        m[2][i] = to[i] - a[i];
      }
      const double volume = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1])
                            - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0])
                            + m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
      pieces.push_back(volume > 0 ? bme_Piece{a, b, from, to} : bme_Piece{a, b, to, from});
    }
  return pieces;
}

std::vector<bme_Piece> WedgePieces(const bme_Piece& c) {
  const std::vector<bme_Piece> below = TrianglePieces({c[0], c[1], c[2]}),
                               above = TrianglePieces({c[3], c[4], c[5]});
  std::vector<bme_Piece> pieces;
  for (std::size_t i = 0; i < below.size(); ++i)
    for (const double level : {0.0, 0.5}) {
      bme_Piece piece;
      for (const double end : {level, level + 0.5})
        for (std::size_t k = 0; k < 3; ++k) {
          shp_IsoPoint p;
          for (std::size_t axis = 0; axis < 3; ++axis)
            p[axis] = below[i][k][axis] * (1 - end) + above[i][k][axis] * end;
          piece.push_back(p);
        }
      pieces.push_back(std::move(piece));
    }
  return pieces;
}
} // namespace

std::vector<bme_Piece> bme_RefinedPieces(const bme_Piece& corners, int numDims) {
  if (corners.size() == 3) return TrianglePieces(corners);
  if (corners.size() == 6) return WedgePieces(corners);
  return numDims == 3 && corners.size() == 4 ? TetrahedronPieces(corners) : CornerPieces(corners);
}
