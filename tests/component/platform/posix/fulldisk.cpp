// Writing where the system takes no more: a full device, a limit on the size of files.
#include <sys/resource.h>

#include <csignal>

#include "KelBasicTypes/binfile.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;

using Parser = IPtr<IKelDOMXmlV3>;

Parser large() {
    const DomParser owner = load("<a>" + std::string(200'000, 'x') + "</a>");
    return Parser(kel::queryInterface<IKelDOMXmlV3>(owner.get()));
}

class FileSizeLimit final {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST(FullDisk, IsAnErrorWithTheSystemsReason) {
    const Parser parser = large();
    EXPECT_FALSE(parser->writeFile(wide("/dev/full"), 0, KelString()));
    EXPECT_EQ(errorOf(parser), "9 Error while writing /dev/full : No space left on device");
    BinOutputFile full(wide("/dev/full"));
    EXPECT_FALSE(parser->writeStream(full, 0, KelString()));
    EXPECT_EQ(errorOf(parser), "9 Error while writing XML : No space left on device");
    EXPECT_TRUE(parser->writeFile(wide("/dev/null"), 0, KelString())) << "no regular file: written straight";
    // What fits into a buffer is rejected as late as the flush.
    const DomParser small = load("<a/>");
    auto* const third = kel::queryInterface<IKelDOMXmlV3>(small.get());
    EXPECT_FALSE(third->writeFile(wide("/dev/full"), 0, KelString()));
    EXPECT_EQ(small->getError()->getCode(), 9);
}

TEST(FullDisk, LeavesTheOldFileWhole) {
    const Folder folder;
    const std::string path = folder.write("a.xml", "<old/>");
    const Parser parser = large();
    {
        const FileSizeLimit limit(100'000);
        EXPECT_FALSE(parser->writeFile(wide(path), 0, KelString()));
        EXPECT_EQ(errorOf(parser), "9 Error while writing " + path + " : File too large");
    }
    EXPECT_EQ(folder.read("a.xml"), "<old/>");
    EXPECT_TRUE(parser->writeFile(wide(path), 0, KelString())) << errorOf(parser);
    EXPECT_EQ(folder.read("a.xml").size(), 200'000u + 8);
    std::filesystem::create_symlink("a.xml", folder.path("link.xml"));
    EXPECT_TRUE(parser->writeFile(wide(folder.path("link.xml")), 0, KelString())) << errorOf(parser);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.xml"))) << "it is followed";
}

}  // namespace
