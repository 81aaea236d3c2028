#include "ExchangeUnderTest.h"

#include <CoreGeometry/dst_MpiExchange.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {
/// The process of the first rank, by which the folder is called.
int FirstProcess() {
  int id = getpid();
  MPI_Bcast(&id, 1, MPI_INT, 0, MPI_COMM_WORLD);
  return id;
}
} // namespace

const std::filesystem::path& TestFolder() {
  static const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("split_mpi_test." + std::to_string(FirstProcess()));
  std::filesystem::create_directories(folder);
  return folder;
}

std::unique_ptr<dst_Exchange> MakeExchange() {
  return std::make_unique<dst_MpiExchange>(MPI_COMM_WORLD, 1024);
}

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  testing::InitGoogleTest(&argc, argv);
  TestFolder();
  int rank = 0;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  if (rank != 0) // failures are said by whoever has them, progress by one
    delete testing::UnitTest::GetInstance()->listeners().Release(
        testing::UnitTest::GetInstance()->listeners().default_result_printer());
  class Complaints : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override {
      if (result.failed())
        fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(), result.summary());
    }
  };
  if (rank != 0) testing::UnitTest::GetInstance()->listeners().Append(new Complaints);
  int failed = RUN_ALL_TESTS();
  MPI_Allreduce(MPI_IN_PLACE, &failed, 1, MPI_INT, MPI_MAX, MPI_COMM_WORLD);
  if (rank == 0) std::filesystem::remove_all(TestFolder());
  MPI_Finalize();
  return failed;
}
