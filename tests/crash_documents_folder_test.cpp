#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/documents_folder.h"
#include "tests/host_temp_folder.h"

namespace {

namespace fs = std::filesystem;

// Sets (or, for nullopt, removes) environment variables while alive; restores them after.
class EnvironmentChange {
 public:
  EnvironmentChange(std::vector<std::pair<const char*, std::optional<std::string>>> values) {
    for (const auto& [name, value] : values) {
      const char* old = std::getenv(name);
      saved_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
      set(name, value);
    }
  }
  ~EnvironmentChange() {
    for (const auto& [name, value] : saved_) {
      set(name, value);
    }
  }
  EnvironmentChange(const EnvironmentChange&) = delete;
  EnvironmentChange& operator=(const EnvironmentChange&) = delete;

 private:
  static void set(const char* name, const std::optional<std::string>& value) {
    if (value) {
      setenv(name, value->c_str(), 1);
    } else {
      unsetenv(name);
    }
  }
  std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

struct FolderCase {
  const char* what;
  std::optional<std::string> xdg_documents, home, tmpdir;
  std::optional<std::string> documents;  // nullopt: none found
  std::string temporary;
};

TEST(DocumentsFolder, DocumentsComeFromXdgThenHomeAndTemporaryFilesFromTmpdirThenTmp) {
  host_test::TempFolder root;
  const std::string with_documents = root.path() / "with";
  const std::string without_documents = root.path() / "without";
  const std::string xdg = root.path() / "xdg";
  const std::string missing = root.path() / "missing";
  fs::create_directories(fs::path(with_documents) / "Documents");
  fs::create_directories(without_documents);
  fs::create_directories(xdg);
  const std::string home_documents = with_documents + "/Documents";

  const std::vector<FolderCase> cases = {
      {"XDG folder first", xdg, with_documents, xdg, xdg, xdg},
      {"XDG folder missing", missing, with_documents, missing, home_documents, "/tmp"},
      {"XDG empty", "", with_documents, std::nullopt, home_documents, "/tmp"},
      {"no Documents in home", std::nullopt, without_documents, "", std::nullopt, "/tmp"},
      {"no home", std::nullopt, std::nullopt, std::nullopt, std::nullopt, "/tmp"},
      {"a file is no folder", root.write("file", "x").string(), std::nullopt, std::nullopt,
       std::nullopt, "/tmp"},
  };
  for (const FolderCase& c : cases) {
    SCOPED_TRACE(c.what);
    const EnvironmentChange environment(
        {{"XDG_DOCUMENTS_DIR", c.xdg_documents}, {"HOME", c.home}, {"TMPDIR", c.tmpdir}});
    char folder[4096];
    const bool found = hxsdk::documents_folder(folder);
    EXPECT_EQ(found, c.documents.has_value());
    if (found && c.documents) {
      EXPECT_EQ(std::string(folder), *c.documents);
    }
    ASSERT_TRUE(hxsdk::temporary_folder(folder));
    EXPECT_EQ(std::string(folder), c.temporary);
  }
}

TEST(DocumentsFolder, AFolderThatDoesNotFitIsNotReturned) {
  host_test::TempFolder root;
  const EnvironmentChange environment(
      {{"XDG_DOCUMENTS_DIR", root.path().string()}, {"HOME", std::nullopt}});
  const std::size_t length = root.path().string().size();
  std::vector<char> exact(length + 1);
  EXPECT_TRUE(hxsdk::documents_folder(exact));
  EXPECT_EQ(std::string(exact.data()), root.path().string());
  std::vector<char> short_by_one(length);
  EXPECT_FALSE(hxsdk::documents_folder(short_by_one));
}

}  // namespace
