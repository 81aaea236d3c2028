// Writes a block of hexahedra with one step of displacements as an Exodus II file, slice by slice.
//    write_block NX NY NZ FILE
#include <cstdlib>
#include <exodusII.h>
#include <iostream>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  const long nx = std::atol(argv[1]), ny = std::atol(argv[2]), nz = std::atol(argv[3]);
  const long row = nx + 1, plane = row * (ny + 1);
  int realSize = 8, stored = 8, failed = 0;
  const int file = ex_create(argv[4], EX_CLOBBER | EX_LARGE_MODEL, &realSize, &stored);
  const auto check = [&](int status) { failed |= status != 0 ? 1 : 0; };
  if (file < 0) failed = 1;
  check(ex_put_init(file, "block", 3, plane * (nz + 1), nx * ny * nz, 1, 0, 0));
  check(ex_put_block(file, EX_ELEM_BLOCK, 1, "HEX8", nx * ny * nz, 8, 0, 0, 0));
  check(ex_put_variable_param(file, EX_NODAL, 1));
  check(ex_put_variable_name(file, EX_NODAL, 1, "height"));
  const double time = 1;
  check(ex_put_time(file, 1, &time));
  std::vector<double> xyz[3];
  for (auto& axis : xyz) axis.resize(static_cast<std::size_t>(plane));
  for (long z = 0; z <= nz; ++z) { // coordinates that single precision rounds
    for (long i = 0; i < plane; ++i) {
      xyz[0][static_cast<std::size_t>(i)] = 0.1 * static_cast<double>(i % row);
      xyz[1][static_cast<std::size_t>(i)] = 0.1 * static_cast<double>(i / row);
      xyz[2][static_cast<std::size_t>(i)] = 0.1 * static_cast<double>(z);
    }
    check(ex_put_partial_coord(file, z * plane + 1, plane, xyz[0].data(), xyz[1].data(), xyz[2].data()));
    check(ex_put_partial_var(file, 1, EX_NODAL, 1, 1, z * plane + 1, plane, xyz[2].data()));
  }
  int connect = 0;
  check(nc_inq_varid(file, "connect1", &connect));
  std::vector<int> nodes;
  for (long z = 0; z < nz; ++z) {
    nodes.clear();
    for (long y = 0; y < ny; ++y)
      for (long x = 0; x < nx; ++x)
        for (const long corner : {0L, 1L, row + 1, row, plane, plane + 1, plane + row + 1, plane + row})
          nodes.push_back(static_cast<int>(x + row * y + plane * z + corner + 1));
    const std::size_t first[] = {static_cast<std::size_t>(z * nx * ny), 0},
                      count[] = {static_cast<std::size_t>(nx * ny), 8};
    check(nc_put_vara_int(file, connect, first, count, nodes.data()));
  }
  check(ex_close(file));
  if (failed != 0) std::cerr << argv[4] << ": cannot be written\n";
  return failed;
}
