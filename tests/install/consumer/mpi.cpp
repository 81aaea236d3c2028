// One process is an exchange of its own.
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_MpiExchange.h>

int main(int count, char** arguments) {
  MPI_Init(&count, &arguments);
  bool isRight = false;
  {
    const DDB_CoreGeometry library;
    const dst_Library distributed;
    dst_MpiExchange exchange(MPI_COMM_WORLD);
    isRight = exchange.NumRanks() == 1 && exchange.Rank() == 0;
    exchange.Close();
  }
  MPI_Finalize();
  return isRight ? 0 : 1;
}
