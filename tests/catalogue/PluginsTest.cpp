// Which plug-in is found, and what is said of one that cannot be used.
#include "Plugins.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ChecksumHelpers.h"
#include "QVREDoesNotExist.h"
#include "QVREInvalidFormat.h"
#include "QVREOpenFailed.h"
#include "support/ScopedEnvironment.h"

namespace {

namespace fs = std::filesystem;
using namespace catalogue;

QVROSSearchPath searchPath(const std::string& list) { return QVROSSearchPath(list, ';'); }

/// Where those of tests/catalogue/plugins are.
const std::string kTestPlugins = folderFromHere("plugins");

/// What is said when the checksum is asked for. @tparam Failure the class of it.
template <class Failure>
std::string refusalOf(const std::string& name, const std::string& directories) {
  try {
    findChecksum(name, searchPath(directories));
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "nothing";
}

class PluginsTest : public testing::Test {
 protected:
  PluginsTest() {
    std::string name = (fs::temp_directory_path() / "qvr-plugins-XXXXXX").string();
    directory_ = mkdtemp(name.data());
  }
  ~PluginsTest() override { fs::remove_all(directory_); }

  std::string directory_;
};

TEST_F(PluginsTest, PluginWrittenInCIsUsed) {
  const CatalogueChecksum& sum = findChecksum("sum", searchPath(kTestPlugins));

  EXPECT_STREQ(sum.name, "sum");
  EXPECT_EQ(checksumOf(sum, "abc"), "0126");
}

TEST_F(PluginsTest, FirstDirectoryThatHasThePluginWins) {
  const fs::path other = fs::path(kTestPlugins) / "catalogue-sum.so";
  fs::copy_file(other, fs::path(directory_) / "catalogue-crc32.so");
  const std::string built = builtPlugins();

  EXPECT_STREQ(findChecksum("crc32", searchPath(directory_ + ";" + built)).name, "sum");
  EXPECT_STREQ(findChecksum("crc32", searchPath(built + ";" + directory_)).name, "crc32");
}

TEST_F(PluginsTest, MissingPluginNamesItselfAndAllDirectories) {
  EXPECT_EQ(refusalOf<QVREDoesNotExist>("md5", directory_ + ";not/there"),
            "there is no checksum 'md5': no 'catalogue-md5.so' in '" + directory_ + ";not/there'");
  EXPECT_EQ(refusalOf<QVREDoesNotExist>("", ""),
            "there is no checksum '': no 'catalogue-.so' in ''");
}

TEST_F(PluginsTest, NameLeadsToNoOtherPlace) {
  fs::create_directory(fs::path(directory_) / "catalogue-x");
  fs::copy_file(fs::path(kTestPlugins) / "catalogue-sum.so", fs::path(directory_) / "y.so");
  const ScopedEnvironment home("HOME", "x/../y");

  for (const char* name : {"x/../y", "x\\..\\y", "%HOME%"}) {
    EXPECT_NE(refusalOf<QVREDoesNotExist>(name, directory_), "nothing") << name;
  }
}

TEST_F(PluginsTest, FileThatIsNoLibraryIsRefused) {
  const std::string path = directory_ + "/catalogue-text.so";
  std::ofstream(path) << "no library";
  fs::create_directory(directory_ + "/catalogue-directory.so");

  EXPECT_EQ(refusalOf<QVREOpenFailed>("text", directory_),
            "the plug-in '" + path + "' cannot be loaded: file open error");
  EXPECT_NE(refusalOf<QVREOpenFailed>("directory", directory_), "nothing");
}

TEST_F(PluginsTest, LibraryThatIsNoPluginIsRefused) {
  EXPECT_EQ(refusalOf<QVREOpenFailed>("nosymbol", kTestPlugins),
            "'" + kTestPlugins +
                "/catalogue-nosymbol.so' is no plug-in of the catalogue: it has no function "
                "'catalogueChecksum'");
}

TEST_F(PluginsTest, PluginOfAnotherVersionIsRefused) {
  EXPECT_EQ(refusalOf<QVREInvalidFormat>("future", kTestPlugins),
            "the plug-in '" + kTestPlugins +
                "/catalogue-future.so' has version 2 of the interface, and this program version 1");
}

TEST_F(PluginsTest, PluginWithoutFunctionsIsRefused) {
  EXPECT_EQ(refusalOf<QVREInvalidFormat>("incomplete", kTestPlugins),
            "the plug-in '" + kTestPlugins + "/catalogue-incomplete.so' is not complete");
}

TEST_F(PluginsTest, GivenDirectoriesComeBeforeThoseOfTheEnvironmentAndTheProgram) {
  const std::string program = fs::read_symlink("/proc/self/exe").parent_path().string();
  const ScopedEnvironment ofEnvironment("QVRCataloguePlugins", "c;d");

  QVROSSearchPath all = pluginDirectories("a;b");

  QVROSSearchPath expected = searchPath("a;b;c;d;" + program + "/plugins");
  for (const QVROSPath& directory : expected) {
    ASSERT_EQ(*all.begin(), directory);
    all.removePath(all.begin());
  }
}

TEST_F(PluginsTest, DirectoriesOfTheProgramAreThereByThemselves) {
  const ScopedEnvironment noOthers("QVRCataloguePlugins", nullptr);

  EXPECT_EQ(pluginDirectories("").begin()->getUNIXPath(), folderFromHere("plugins"));
}

}  // namespace
