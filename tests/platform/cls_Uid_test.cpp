#include <BasicUtils/cls_Uid.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(cls_Uid, IsUniqueAcrossThreads) {
  constexpr std::size_t kThreads = 8, kEach = 200'000;
  std::vector<cls_Uid> uids(kThreads * kEach);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t)
    threads.emplace_back([&uids, t] {
      for (std::size_t i = 0; i < kEach; ++i) uids[t * kEach + i] = cls_Uid::AllocateUid();
    });
  for (std::thread& thread : threads) thread.join();
  std::sort(uids.begin(), uids.end());
  EXPECT_EQ(std::adjacent_find(uids.begin(), uids.end()), uids.end());
  EXPECT_FALSE(uids.front().IsNull());
}

TEST(cls_Uid, AForkedChildNeverRepeatsItsParent) {
  const cls_Uid before = cls_Uid::AllocateUid();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    const cls_Uid::ByteArray bytes = cls_Uid::AllocateUid().Bytes();
    _exit(write(ends[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) ? 0 : 1);
  }
  cls_Uid::ByteArray bytes{};
  ASSERT_EQ(read(ends[0], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  int status = -1;
  waitpid(child, &status, 0);
  close(ends[0]);
  close(ends[1]);
  EXPECT_EQ(status, 0);
  const cls_Uid inParent = cls_Uid::AllocateUid(), inChild{bytes};
  EXPECT_EQ(inParent.Text().substr(0, 16), before.Text().substr(0, 16));
  EXPECT_NE(inChild.Text().substr(0, 16), before.Text().substr(0, 16));
}

TEST(cls_Uid, KeepsItsBytesInAFixedOrder) {
  cls_Uid::ByteArray bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(0x10 * i + i);
  const cls_Uid uid(bytes);
  EXPECT_EQ(uid.Text(), "00112233445566778899aabbccddeeff");
  EXPECT_EQ(uid.Bytes(), bytes);
  EXPECT_LT(cls_Uid(), uid);
  EXPECT_TRUE(cls_Uid().IsNull());
  EXPECT_EQ(cls_Uid(), cls_Uid(cls_Uid::ByteArray{}));
}

TEST(cls_Uid, ACopiedObjectIsNewAndAnAssignedOneIsTheSame) {
  const cls_OwnUid first;
  const cls_OwnUid copy = first;
  EXPECT_NE(copy.Get(), first.Get());
  cls_OwnUid assigned;
  assigned = first;
  EXPECT_EQ(assigned.Get(), first.Get());
}
