// Stretches of the map of several elements at once, in the namespace of the lanes.

/// What Stretch gives for one element.
inline bme_Lanes Stretch(int numGeomDims, int numSpatialDims, const std::array<bme_LaneVector, 3>& columns) {
  if (numGeomDims == 3) return Dot(columns[0], Cross(columns[1], columns[2]));
  if (numGeomDims == 1) return Length(columns[0]);
  const bme_LaneVector normal = Cross(columns[0], columns[1]);
  return numSpatialDims == 2 ? normal.z : Length(normal);
}

/// Bounds of nodes, and of the stretches at the places of each set in parts of the size.
inline void MeasureStretches(const StretchJob& job, std::span<StretchRange> ranges) {
  std::vector<double> nodes(3 * bme_kLanes * job.numNodes); // lanes of x, y and z one after the other
  const auto at = [&](std::size_t node) {
    bme_LaneVector place;
    const double* from = &nodes[3 * bme_kLanes * node];
    for (bme_Lanes* const to : {&place.x, &place.y, &place.z}) {
      std::memcpy(&to->v, from, sizeof to->v);
      from += bme_kLanes;
    }
    return place;
  };
  for (std::size_t first = 0; first < ranges.size(); first += bme_kLanes) {
    const std::size_t count = std::min(bme_kLanes, ranges.size() - first);
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    bme_LaneVector low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity};
    for (std::size_t n = 0; n < job.numNodes; ++n) {
      for (std::size_t i = 0; i < bme_kLanes; ++i) { // lanes that are left over have the last element
        const int index = job.rows[(first + std::min(i, count - 1)) * job.rowLength + n];
        const float* const place = job.xyz + 3 * static_cast<std::size_t>(index);
        for (std::size_t axis = 0; axis < 3; ++axis)
          nodes[(3 * n + axis) * bme_kLanes + i] = static_cast<double>(place[axis]);
      }
      const bme_LaneVector node = at(n);
      low = {Min(low.x, node.x), Min(low.y, node.y), Min(low.z, node.z)};
      high = {Max(high.x, node.x), Max(high.y, node.y), Max(high.z, node.z)};
    }
    const bme_Lanes length = Length(high - low);
    bme_Lanes unit = 1;
    for (int k = 0; k < job.numGeomDims; ++k) unit = unit * length;
    unit = bme_Lanes(length.v > bme_Lanes(0).v ? unit.v : bme_Lanes(1).v);
    for (std::size_t set = 0; set < job.places.size(); ++set) {
      bme_Lanes least = kInfinity, most = -kInfinity;
      const Point* derivative = job.places[set]->derivatives.data();
      for (std::size_t place = 0; place < job.places[set]->sums.size(); ++place) {
        std::array<bme_LaneVector, 3> columns{};
        for (std::size_t iso = 0; iso < 3; ++iso) columns[iso] = {0, 0, 0};
        for (std::size_t n = 0; n < job.numNodes; ++n, ++derivative) {
          const bme_LaneVector node = at(n);
          for (std::size_t iso = 0; iso < 3; ++iso) columns[iso] = columns[iso] + node * (*derivative)[iso];
        }
        const bme_Lanes stretch = Stretch(job.numGeomDims, job.numSpatialDims, columns) / unit;
        least = Min(least, stretch);
        most = Max(most, stretch);
      }
      for (std::size_t i = 0; i < count; ++i) {
        ranges[first + i].least[set] = least.v[i];
        ranges[first + i].most[set] = most.v[i];
      }
    }
    for (std::size_t i = 0; i < count; ++i) {
      ranges[first + i].low = {low.x.v[i], low.y.v[i], low.z.v[i]};
      ranges[first + i].high = {high.x.v[i], high.y.v[i], high.z.v[i]};
      ranges[first + i].length = length.v[i];
    }
  }
}
