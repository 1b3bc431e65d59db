// Many photos at once: order, folders, records, signals.
#include "tools/batch.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <latch>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/csv.h"
#include "tools/photo.h"
#include "tools/png_writer.h"
#include "tools/progress.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

TEST(Batch, WorksSideBySideAndTakesInOrder) {
    for (const std::size_t workers : {1, 2, 5}) {
        std::latch allAtOnce(static_cast<std::ptrdiff_t>(workers));
        std::atomic<std::size_t> taken{0};
        std::atomic<std::size_t> farthest{0};
        std::vector<std::size_t> results;
        const std::size_t count = skylevel::runInOrder<std::size_t>(
            200, workers,
            [&](std::size_t job) {
                if (job < workers) allAtOnce.arrive_and_wait();
                std::size_t ahead = job - std::min(job, taken.load());
                for (std::size_t seen = farthest; ahead > seen && !farthest.compare_exchange_weak(seen, ahead);) {
                }
                return job * job;
            },
            [&](std::size_t job, const std::size_t& result) {
                EXPECT_EQ(job, results.size());
                results.push_back(result);
                taken = job + 1;
                return job < 150;
            });
        EXPECT_EQ(count, 151U);
        ASSERT_EQ(results.size(), 151U);
        for (std::size_t job = 0; job < results.size(); ++job) EXPECT_EQ(results[job], job * job);
        // The count here lags behind by the one being taken.
        EXPECT_LE(farthest, skylevel::jobsAhead(workers));
    }
}

// Photos, and what is none or better left alone.
void fill(const TemporaryFolder& folder) {
    const skylevel::Bytes plain = skylevel::encodePng(noisyPicture(64, 48));
    for (const char* sub : {"in/b/deep", "in/.hidden", "in/c"}) fs::create_directories(folder.file(sub));
    for (const char* name :
         {"in/a.PNG", "in/b/deep/x.png", "in/b.png", "in/c/a.png", "in/.hidden/x.png", "in/._a.png", "in/notes.txt"})
        writeBytes(folder.file(name), plain);
    writeBytes(folder.file("in/b/broken.jpg"), {1, 2, 3});
    fs::copy_file(bundled("sea-breaker.jpg"), folder.file("in/c/sea.jpg"));
    fs::create_directory_symlink("..", folder.file("in/b/loop"));
    fs::create_symlink("../b.png", folder.file("in/c/link.png"));
    fs::create_symlink("missing", folder.file("in/c/nowhere.png"));
}

const Names& places() {
    static const Names names = {"a.PNG",   "b/broken.jpg", "b/deep/x.png",  "b.png",
                                "c/a.png", "c/link.png",   "c/nowhere.png", "c/sea.jpg"};
    return names;
}

TEST(Batch, WalksFoldersInOrderWhateverTheJobs) {
    const TemporaryFolder folder;
    fill(folder);
    const std::string in = folder.file("in");
    const ToolRun one = runTool({"detect", "-r", "--jobs", "1", "--json", "--summary", in, in + "/c/sea.jpg"});
    EXPECT_EQ(one.status, 2);
    EXPECT_EQ(one.err, "skylevel: " + in +
                           "/b/broken.jpg: not a JPEG, PNG, WebP or HEIC file\n"
                           "skylevel: " +
                           in +
                           "/c/nowhere.png: No such file or directory\n"
                           "skylevel: 9 photos: 7 read, 2 with a horizon, 2 failed\n");
    const Names lines = linesOf(one.out);
    ASSERT_EQ(lines.size(), places().size() + 1);
    for (std::size_t i = 0; i < places().size(); ++i)
        EXPECT_TRUE(lines[i].starts_with("{\"file\":\"" + in + "/" + places()[i] + "\"")) << lines[i];
    const ToolRun many = runTool({"detect", "-r", "-j", "7", "--json", "--summary", in, in + "/c/sea.jpg"});
    EXPECT_EQ(many.out, one.out);
    EXPECT_EQ(many.err, one.err);

    EXPECT_EQ(runTool({"detect", in, bundled("sea-breaker.jpg")}).err,
              "skylevel: " + in + ": is a folder; -r takes the photos in it\n");
    // As soon as one is found, though a broken one comes before it.
    EXPECT_EQ(runTool({"detect", "-rq", "-j", "3", in}).status, 0);
    fs::create_directory(folder.file("empty"));
    EXPECT_EQ(runTool({"detect", "-r", folder.file("empty")}).err,
              "skylevel: " + folder.file("empty") + ": no photos in this folder\n");
}

TEST(Batch, KeepsTheFoldersOfStraightenedPhotos) {
    const TemporaryFolder folder;
    fill(folder);
    const std::string in = folder.file("in");
    // The second time the output lies in what is walked.
    for (int round = 0; round < 2; ++round) {
        const ToolRun run = runTool(
            {"straighten", "-r", "--angle", "5", "-q", "--force", "--summary", "-o", folder.file("in/made/out"), in});
        EXPECT_EQ(run.err, "skylevel: " + in +
                               "/b/broken.jpg: not a JPEG, PNG, WebP or HEIC file\n"
                               "skylevel: " +
                               in +
                               "/c/nowhere.png: No such file or directory\n"
                               "skylevel: 8 photos: 6 read, 6 straightened, 0 left alone, 2 failed\n");
    }
    Names written;
    for (const auto& entry : fs::recursive_directory_iterator(folder.file("in/made/out")))
        if (!entry.is_directory()) written.push_back(fs::relative(entry.path(), folder.file("in/made/out")).string());
    std::sort(written.begin(), written.end());
    Names expected = places();
    for (const char* failed : {"b/broken.jpg", "c/nowhere.png"})
        expected.erase(std::find(expected.begin(), expected.end(), failed));
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(written, expected);

    const std::string first = in + "/c";
    const std::string second = in + "/made/out/c";
    const ToolRun clash = runTool({"straighten", "-r", "--angle", "5", "-o", folder.file("new"), first, second});
    EXPECT_EQ(linesOf(clash.err).at(0), "skylevel: " + first + "/a.png and " + second +
                                            "/a.png would both be written to " + folder.file("new/a.png"));
}

TEST(Batch, WritesCsv) {
    EXPECT_EQ(skylevel::csvRecord({"plain", "", "a,b", "say \"x\"", "two\r\nlines", " space "}),
              "plain,,\"a,b\",\"say \"\"x\"\"\",\"two\r\nlines\", space ");
    const TemporaryFolder folder;
    const std::string sea = folder.file("a, \"sea\".jpg");
    fs::copy_file(bundled("sea-breaker.jpg"), sea);
    const std::string quoted = "\"" + folder.file("a, \"\"sea\"\".jpg") + "\"";
    const std::string missing = folder.file("missing");
    EXPECT_EQ(runTool({"detect", "--csv", sea, missing, bundled("odd-truncated.jpg")}).out,
              "file,horizon,angle,verdict,decisionAngle,threshold,format,width,height,turn,mirrored,warnings,overlay,"
              "overlayError,error\r\n" +
                  quoted + ",true,0.0,segment,0.0,10.0,jpeg,1600,898,0,false,,,,\r\n" + missing +
                  ",,,,,,,,,,,,,,No such file or directory\r\n" + bundled("odd-truncated.jpg") +
                  ",true,0.0,segment,0.0,10.0,jpeg,1600,560,0,false,truncated: 560 of 1066 rows read,,,\r\n");
    EXPECT_EQ(runTool({"straighten", "--csv", "--angle", "0", "--min-angle", "0", "-o", folder.file("o.jpg"), sea}).out,
              "file,turned,turn,reason,output,horizon,angle,verdict,decisionAngle,format,width,height,newWidth,"
              "newHeight,warnings,error\r\n" +
                  quoted + ",true,0.0,," + folder.file("o.jpg") + ",,,,,jpeg,1600,898,1600,898,,\r\n");
}

// A pipe among the photos holds the tool until the signal is on its way.
TEST(Batch, EndsCleanlyOnASignal) {
    const struct {
        int signal;
        int status;
        const char* jobs;
    } cases[] = {{SIGTERM, 143, "1"}, {SIGINT, 130, "1"}, {SIGTERM, 143, "2"}};
    for (const auto& c : cases) {
        const TemporaryFolder folder;
        const std::string pipe = folder.file("pipe.png");
        ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        Names arguments = {"straighten", "--angle", "5", "--summary", "-j", c.jobs, "-o", folder.file("out")};
        for (const char* name : {"a.png", "pipe.png", "b.png", "c.png", "d.png", "e.png", "f.png"}) {
            arguments.push_back(folder.file(name));
            if (arguments.back() != pipe) writeBytes(arguments.back(), skylevel::encodePng(noisyPicture(300, 200)));
        }
        ToolProcess tool(arguments);
        const int end = tool.openWhenRead(pipe);
        ASSERT_GE(end, 0);
        tool.send(c.signal);
        const ToolRun run = tool.finish();
        ::close(end);
        EXPECT_EQ(run.status, c.status);
        EXPECT_NE(run.err.find(pipe + ": interrupted\n"), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(" straightened, 0 left alone, 1 failed\n"), std::string::npos) << run.err;
        const Names lines = linesOf(run.out);
        std::size_t files = 0;
        for (const auto& entry : fs::directory_iterator(folder.file("out"))) {
            EXPECT_NO_THROW(skylevel::decodePhoto(bytesOf(entry.path()), skylevel::PixelWish::stored, 100'000))
                << entry.path();
            ++files;
        }
        EXPECT_EQ(files, lines.size()) << "each file is told of, and none beside them is left";
        EXPECT_LT(files, 6U) << "nothing is begun behind the pipe's turn";
        EXPECT_TRUE(files == 1 || *c.jobs != '1');
    }
}

TEST(Progress, FitsTheTerminal) {
    EXPECT_EQ(skylevel::progressLine(0, 40, 0.0, 60), "0/40 [" + std::string(40, ' ') + "]");
    EXPECT_EQ(skylevel::progressLine(10, 40, 4.0, 80),
              "10/40 [" + std::string(10, '#') + std::string(30, ' ') + "] 2.5/s, 0:12 left");
    EXPECT_EQ(skylevel::progressLine(10, 40, 4000.0, 39), "10/40 [###         ] 0.0/s, 3.3 h left");
    for (std::size_t columns = 1; columns < 60; ++columns)
        EXPECT_LT(skylevel::progressLine(40, 40, 1.0, columns).size(), columns);
}

}  // namespace
