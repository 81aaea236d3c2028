#include "db_File.h"

#include <BasicUtils/wip_Executor.h>
#include <algorithm>

namespace {
struct CloseBlob {
  void operator()(sqlite3_blob* blob) const noexcept { sqlite3_blob_close(blob); }
};

/// Fetches chunks of one array, in order, and checks them.
class ChunkReader {
public:
  ChunkReader(db_File& file, const db_Array& array, std::size_t elementSize)
      : file_(file), array_(array), chunkBytes_(array.ChunkBytes(elementSize)),
        totalBytes_(static_cast<std::size_t>(array.count) * elementSize),
        chunks_(file.Statement(file.Format() == db_File::kFirstFormat
                                   ? "SELECT rowid, seq, sum, length(data), array FROM chunk WHERE array = "
                                     "?1 AND seq >= ?2 ORDER BY "
                                     "seq"
                                   : "SELECT id, seq, sum, length(data), array FROM chunk WHERE id >= ?1 AND "
                                     "id < ?2 ORDER BY id")) {}

  /// done(seq, bytes) for each of some chunks, read to placeOf(seq, size). The memory of a chunk may be used again for
  /// the next but one. With a lent executor a chunk is checked and done while the next one is fetched.
  template<class PlaceOf, class Done>
  void Run(std::size_t first, std::size_t end, const PlaceOf& placeOf, const Done& done) {
    if (first == end) return;
    const auto seq = static_cast<long long>(first);
    if (file_.Format() == db_File::kFirstFormat)
      chunks_->BindAll(array_.id, seq);
    else
      chunks_->BindAll(array_.firstChunk + seq, array_.firstChunk + array_.NumChunks());
    const auto fetch = [&](std::size_t k) { Fetch(k, placeOf(k, SizeOf(k)), now_[k % 2]); };
    const auto finish = [&](std::size_t k) {
      Check(k, now_[k % 2]);
      done(k, now_[k % 2].bytes);
    };
    fetch(first);
    for (std::size_t k = first; k < end; ++k)
      wip_RunPieces(k + 1 == end ? 1 : 2, [&](std::size_t piece) { piece == 0 ? finish(k) : fetch(k + 1); });
  }

private:
  struct Chunk {
    std::span<std::byte> bytes;
    long long sum = 0; ///< as stored
  };

  std::size_t SizeOf(std::size_t k) const { return std::min(chunkBytes_, totalBytes_ - k * chunkBytes_); }
  [[noreturn]] void Damaged(std::size_t k, const char* what) const {
    file_.Connection().Damaged("chunk " + std::to_string(k) + " of array " + std::to_string(array_.id)
                               + what);
  }

  void Fetch(std::size_t k, std::byte* place, Chunk& chunk) {
    chunk.bytes = {place, SizeOf(k)};
    if (!chunks_->Step() || chunks_->Int(1) != static_cast<long long>(k) || chunks_->Int(4) != array_.id)
      Damaged(k, " is missing");
    if (chunks_->Int(3) != static_cast<long long>(chunk.bytes.size())) Damaged(k, " has another length");
    chunk.sum = chunks_->Int(2);
    sqlite3* const database = file_.Connection().Handle();
    const long long row = chunks_->Int(0);
    const int code = blob_ ? sqlite3_blob_reopen(blob_.get(), row) : [&] {
      sqlite3_blob* opened = nullptr;
      const int result = sqlite3_blob_open(database, "main", "chunk", "data", row, 0, &opened);
      blob_.reset(opened);
      return result;
    }();
    if (code != SQLITE_OK) file_.Connection().Fail(code);
    const int size = static_cast<int>(chunk.bytes.size());
    if (const int read = sqlite3_blob_read(blob_.get(), place, size, 0); read != SQLITE_OK)
      file_.Connection().Fail(read);
  }

  void Check(std::size_t k, const Chunk& chunk) const {
    if (db_IsWrong(file_.SumOfChunk(array_, static_cast<long long>(k), chunk.bytes), chunk.sum))
      Damaged(k, "");
  }

  db_File& file_;
  const db_Array& array_;
  std::size_t chunkBytes_, totalBytes_;
  db_Use chunks_;
  std::unique_ptr<sqlite3_blob, CloseBlob> blob_;
  Chunk now_[2]; ///< the one that is being checked, and the one that is being fetched
};
} // namespace

void db_File::ReadPart(const db_Array& array, std::size_t elementSize, std::size_t first,
                       std::span<std::byte> target, const db_SeeBytes& see) {
  if (target.empty()) return;
  const std::size_t chunkBytes = array.ChunkBytes(elementSize);
  const std::size_t begin = first * elementSize, end = begin + target.size();
  cls_Blob parts[2]; // for chunks of which only a piece is wanted
  const auto isWhole = [&](std::size_t k, std::size_t size) {
    return k * chunkBytes >= begin && k * chunkBytes + size <= end;
  };
  ChunkReader(*this, array, elementSize)
      .Run(
          begin / chunkBytes, (end - 1) / chunkBytes + 1,
          [&](std::size_t k, std::size_t size) {
            if (isWhole(k, size)) return target.data() + (k * chunkBytes - begin);
            parts[k % 2].resize(size);
            return parts[k % 2].data();
          },
          [&](std::size_t k, std::span<const std::byte> bytes) {
            const std::size_t at = k * chunkBytes;
            if (!isWhole(k, bytes.size())) {
              const std::size_t from = std::max(at, begin), to = std::min(at + bytes.size(), end);
              std::ranges::copy(bytes.subspan(from - at, to - from), target.data() + (from - begin));
              bytes = target.subspan(from - begin, to - from);
            }
            if (see) see(bytes);
          });
}

void db_File::ForEachChunk(const db_Array& array, std::size_t elementSize, const db_SeeBytes& see) {
  cls_Blob now[2];
  ChunkReader(*this, array, elementSize)
      .Run(
          0, static_cast<std::size_t>(array.NumChunks()),
          [&](std::size_t k, std::size_t size) {
            now[k % 2].resize(size);
            return now[k % 2].data();
          },
          [&](std::size_t, std::span<const std::byte> bytes) { see(bytes); });
}
