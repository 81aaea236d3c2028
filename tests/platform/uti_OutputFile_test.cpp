// Files that are written whole or not at all, and new models, which are such files.
#include "TestObjects.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/uti_OutputFile.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

std::string Text(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
void SetText(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }

class uti_OutputFile_ : public DatabaseTest {
protected:
  cow_String At(const char* name) const { return (Folder() / name).string(); }
  fs::path Folder() const { return fs::path(file_).parent_path(); }
  /// Names in the folder, sorted, private ones without their end.
  std::string Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder())) {
      const std::string name = entry.path().filename();
      names.push_back(name.starts_with(".coregeometry-") ? "private" : name);
    }
    std::ranges::sort(names);
    std::string all;
    for (const std::string& name : names) all += name + " ";
    return all;
  }
  static void Write(const cow_String& name, const std::string& text, uti_OutputRules rules = {}) {
    uti_OutputFile output(name, std::move(rules));
    SetText(output.Path(), text);
    output.Commit();
  }
  static unsigned ModeOf(const cow_String& file) {
    struct stat facts = {};
    EXPECT_EQ(stat(file.c_str(), &facts), 0);
    return facts.st_mode & 07777U;
  }
  static void MakeOld(const fs::path& file) {
    const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  }
  static void PutSpot(const cls_Database& /*model*/, cls_WritePass& pass) { pass.Put("spot", kSpot); }
  static inline const Spot kSpot{1, 2};
};
} // namespace

TEST_F(uti_OutputFile_, TakesItsNameWithTheAccessOfANewFileOrOfTheOldOne) {
  const mode_t before = umask(027);
  Write(At("a"), "first");
  umask(before);
  EXPECT_EQ(ModeOf(At("a")), 0640U);
  fs::create_symlink("a", At("link"));
  fs::create_symlink(At("b"), At("dangling"));
  SetText(At("a.part"), "of the user");
  const bool mayGive = chown(At("a").c_str(), 1234, 4321) == 0; // as root
  EXPECT_EQ(chmod(At("a").c_str(), 0604), 0);
  Write(At("link"), "second", {.force = true});
  Write(At("dangling"), "third");
  EXPECT_EQ(Names(), "a a.part b dangling link ");
  EXPECT_EQ(Text(At("a")) + Text(At("b")) + Text(At("a.part")), "secondthirdof the user");
  EXPECT_TRUE(fs::is_symlink(At("link")) && fs::is_symlink(At("dangling")));
  struct stat facts = {};
  EXPECT_EQ(stat(At("a").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777U, 0604U);
  EXPECT_EQ(facts.st_uid == 1234 && facts.st_gid == 4321, mayGive);
}

TEST_F(uti_OutputFile_, RefusesWhatItWouldDestroy) {
  cls_CreateModel(At("model"), {}, PutSpot);
  SetText(At("text"), "kept");
  fs::create_hard_link(At("text"), At("twin"));
  fs::create_symlink("model", At("link"));
  ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
  const std::string names = Names();
  struct Case {
    cow_String name;
    uti_OutputRules rules;
    const char* told;
  };
  for (const Case& one :
       {Case{"", {}, "is empty"}, Case{"-", {}, "not the standard output"},
        Case{At("a%04d.b"), {}, "place for numbers"},
        Case{At("a.b"), {.suffixes = {".c", ".d"}}, "does not end in .c or .d"},
        Case{At(".c"), {.suffixes = {".d"}}, "does not end in .d"},
        Case{At("none/a"), {}, "none/a: its folder cannot be found"}, Case{Folder(), {}, "is a folder"},
        Case{At("a/"), {}, "is a folder"}, Case{At("text"), {}, "text: exists already"},
        Case{At("text"), {.force = true, .inputs = {At("twin")}}, "is read by this very work"},
        Case{At("model"), {.force = true}, "is a model"}, Case{At("link"), {.force = true}, "is a model"},
        Case{At("pipe"), {.force = true}, "not a regular file"},
        Case{"/dev/null", {.force = true}, "not a regular file"}})
    EXPECT_NE(ThrownBy([&] { uti_OutputFile(one.name, one.rules); }).find(one.told), cow_String::npos)
        << one.name << ": " << ThrownBy([&] { uti_OutputFile(one.name, one.rules); });
  const cls_Database open = cls_Database::Open(At("model"));
  EXPECT_NE(ThrownBy([&] { uti_OutputFile(At("link"), {.force = true}); }).find("open in this program"),
            cow_String::npos)
      << "its locks would be lost";
  // what comes while the work goes on
  uti_OutputFile late(At("late"), {}), forced(At("forced"), {.force = true});
  SetText(At("late"), "of another program");
  fs::copy_file(At("model"), At("forced"));
  EXPECT_THROW(late.Commit(), uti_FileExistsException);
  EXPECT_NE(ThrownBy([&] { forced.Commit(); }).find("is a model"), cow_String::npos);
  EXPECT_EQ(Text(At("late")), "of another program");
  EXPECT_EQ(Text(At("text")), "kept");
  Write(At("x.VTU"), "suffixes in any case", {.suffixes = {".vtu"}});
  EXPECT_EQ(uti_OutputFile::Numbered("a%03db", 7) + uti_OutputFile::Numbered("%d", 1234), "a007b1234");
  EXPECT_NE(ThrownBy([] { uti_OutputFile::Numbered("a", 1); }), "");
}

TEST_F(uti_OutputFile_, LeavesNothingBehindHoweverTheWorkEnds) {
  const auto child = [&](auto&& end) {
    const pid_t id = fork();
    if (id == 0) {
      uti_OutputFile output(At("out"));
      SetText(output.Path() + "-journal", "half");
      end();
      _exit(0);
    }
    waitpid(id, nullptr, 0);
    return Names();
  };
  // killed: removed by a later process when a day has gone by, and not before
  EXPECT_EQ(child([] { kill(getpid(), SIGKILL); }), "private ");
  EXPECT_EQ(child([] { uti_OutputFile::RemoveUnfinished(); }), "private ");
  SetText(At("private file"), "older than all");
  for (const auto& entry : fs::recursive_directory_iterator(Folder())) MakeOld(entry.path());
  EXPECT_EQ(child([] { uti_OutputFile::RemoveUnfinished(); }), "private file ");
  fs::remove(At("private file"));
  {
    const uti_OutputFile thrown(At("out"));
    EXPECT_EQ(Names(), "private ");
    EXPECT_EQ(child([] { uti_OutputFile::RemoveUnfinished(); }), "private ") << "its own, not the parent's";
    EXPECT_TRUE(fs::exists(thrown.Path()));
  }
  EXPECT_EQ(Names(), "");
}

TEST_F(uti_OutputFile_, OfTwoThatMakeAModelOneHasItAndTheOtherIsTold) {
  const Spot loser(3, 4);
  EXPECT_THROW(cls_CreateModel(At("m"), {},
                               [&](const cls_Database&, cls_WritePass& pass) {
                                 pass.Put("spot", loser);
                                 EXPECT_FALSE(fs::exists(At("m"))) << "no name before all is there";
                                 cls_CreateModel(At("m"), {}, PutSpot);
                               }),
               uti_FileExistsException);
  EXPECT_EQ(cls_Database::Open(At("m")).Get<Spot>("spot")->y, 2);
  EXPECT_THROW(cls_CreateModel(At("n"), {}, [](const cls_Database&, cls_WritePass&) { throw 1; }), int);
  for (const char* journal : {"n-journal", "n-wal"}) {
    SetText(At(journal), "stale");
    EXPECT_NE(ThrownBy([&] { cls_CreateModel(At("n"), {}, PutSpot); }).find(journal), cow_String::npos);
    fs::remove(At(journal));
  }
  // a journal that comes meanwhile
  EXPECT_NE(ThrownBy([&] {
              cls_CreateModel(At("n"), {},
                              [&](const cls_Database&, cls_WritePass&) { SetText(At("n-journal"), "x"); });
            }).find("n-journal"),
            cow_String::npos);
  EXPECT_EQ(Names(), "m n-journal ");
  EXPECT_NE(ThrownBy([] { cls_CreateModel(":memory:", {}, PutSpot); }), "");
}
