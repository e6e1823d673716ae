// The page cache against a plain list of blocks in order of use: the file sees the same
// reads and writes in the same order, but for pages that a read before brought with it.
#include "engine/engine.h"
#include "file/file_state.h"
#include "tests/support/command.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <list>
#include <map>
#include <random>
#include <set>

namespace
{

using Page = std::pair<int, int>; // descriptor, page number

struct Block {
    Page page = {-1, -1};
    int version = 0;
    int firstChange = 0;  // version of the first change not written; 0: clean
    bool doubted = false; // read again when it is used next, unless it is written to
};

// What a page holds is its version number: 0 for one that was never written to.
struct Model {
    std::list<Block> blocks; // most recently used first
    size_t room = 0;         // blocks for which there is memory
    std::map<Page, int> inFile;
    std::vector<OsTransfer> transfers;

    void writeBack(Block& block)
    {
        transfers.push_back({OS_CALL_WRITE, block.page.first, pageAt(block.page.second)});
        inFile[block.page] = block.version;
        block.firstChange = 0;
    }
    // The page's block, or a free one, or a new one, or the last clean one, which is read unless
    // it is to be written to; it becomes the first.
    Block& use(Page page, bool reads)
    {
        auto first = [&](auto isSought) {
            return std::find_if(blocks.begin(), blocks.end(), isSought);
        };
        auto block = first([&](const Block& each) { return each.page == page; });
        bool found = block != blocks.end();
        if (!found) block = first([](const Block& each) { return each.page.first == -1; });
        if (block == blocks.end() && blocks.size() < room) block = blocks.emplace(blocks.begin());
        while (block == blocks.end() || (!found && block->firstChange != 0)) {
            --block;
        }
        blocks.splice(blocks.begin(), blocks, block);
        if (found && !block->doubted) return *block;
        if (reads) transfers.push_back({OS_CALL_READ, page.first, pageAt(page.second)});
        return *block = {page, inFile[page], 0};
    }
    // Writes the dirty blocks of the file in the order of their first changes, or frees all.
    void leave(int descriptor, bool writes, bool frees)
    {
        std::map<int, Block*> dirty;
        for (Block& block : blocks) {
            bool ofFile = block.page.first == descriptor;
            if (ofFile && block.firstChange != 0) dirty[block.firstChange] = &block;
        }
        for (auto& [change, block] : dirty) {
            if (writes) writeBack(*block);
        }
        for (Block& block : blocks) {
            if (frees && block.page.first == descriptor) block = {};
        }
    }
    void doubt(int descriptor)
    {
        for (Block& block : blocks) {
            if (block.page.first == descriptor && block.firstChange != 0) block = {};
            block.doubted |= block.page.first == descriptor;
        }
    }
};

// A leaf with the version as its only entry's number.
std::string pageOfVersion(int version)
{
    return rawPage(0, 1, rawEntry(1, "K", version), -1, -1, 0);
}

// Files of pages that were never written to, open.
using Files = std::array<OpenFile, 2>;

Files openFiles(int pages)
{
    std::string job(static_cast<size_t>(pageAt(0)), 0);
    for (int number = 0; number < pages; ++number) {
        job += pageOfVersion(0);
    }
    Files files = {};
    for (OpenFile& file : files) {
        file.descriptor = osOpen(writeJob(job).c_str(), OS_READ_WRITE);
        file.sharing.fileLock = LOCKED;
    }
    return files;
}

// Works on random pages of both files, of which the cache holds fewer than both together.
void workAsTheModel(Files& files, int pages, Model model)
{
    std::mt19937 random(1);
    int readAhead = 0;
    int pageNumber = 0;
    OpenFile* file = &files[0];
    auto below = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    for (int version = 1; version <= 20000; ++version) {
        osFaults.transfers.clear();
        model.transfers.clear();
        bool goesOn = below(4) > 0;
        if (!goesOn) file = &files[static_cast<size_t>(below(2))];
        bool atOnce = below(4) == 0;
        file->openMode = atOnce ? OPEN_EXCLUSIVE : OPEN_SHARED;
        file->sharing.exclusively = true;
        pageNumber = goesOn ? (pageNumber + 1) % pages : below(below(2) == 0 ? 60 : pages);
        Page page = {file->descriptor, pageNumber};
        int result = IX_OK;
        int action = below(10000); // freeing is rare enough for the cache to fill
        if (action < 5000) {
            Block& block = model.use(page, false);
            block = {page, version, block.firstChange != 0 ? block.firstChange : version};
            if (atOnce) model.writeBack(block);
            std::string bytes = pageOfVersion(version);
            result = cachedPageWrite(file, reinterpret_cast<uint8_t*>(bytes.data()), pageNumber);
        } else if (action < 9950) {
            Block expected = model.use(page, true);
            NodeView view = {};
            result = cachedPageView(file, &view, pageNumber);
            ASSERT_EQ(memcmp(view.node, pageOfVersion(expected.version).data(), 1024), 0)
                << version;
        } else if (action < 9990) {
            bool frees = action == 9989;
            model.leave(file->descriptor, true, frees);
            result = frees ? flushAndFreeFile(file) : flushFile(file);
        } else if (action < 9999) {
            model.doubt(file->descriptor);
            doubtFile(file);
        } else {
            model.leave(file->descriptor, false, true);
            dropFile(file->descriptor);
        }
        ASSERT_EQ(result, IX_OK) << version;
        bool ahead = osFaults.transfers.empty() && std::ssize(model.transfers) == 1 &&
                     model.transfers[0].call == OS_CALL_READ;
        ASSERT_TRUE(ahead || osFaults.transfers == model.transfers) << version;
        readAhead += ahead ? 1 : 0;
    }
    EXPECT_GT(readAhead, 100);
}

void closeFiles(const Files& files)
{
    for (const OpenFile& file : files) {
        EXPECT_EQ(closeDescriptor(file.descriptor), 0);
    }
}

class RefusedMemory : public testing::TestWithParam<int>
{
};

// The cache grows until memory for another piece is refused, and then goes on with what it has.
TEST_P(RefusedMemory, LeavesAListInOrderOfUse)
{
    const int pieces = GetParam();
    const int before = liveBlocks;
    const int pages = (1 + pieces) * 800;
    for (int opened = 0; opened < 2; ++opened) { // all pages leave in between
        Files files = openFiles(pages);
        Model model;
        model.room = static_cast<size_t>((1 + pieces) * CACHE_BLOCKS);
        osFaults.call = OS_CALL_ALLOCATE;
        osFaults.first = 1 + pieces;
        osFaults.lasting = true;
        workAsTheModel(files, pages, model);
        EXPECT_EQ(osFaults.failures, 1);
        EXPECT_EQ(liveBlocks, before + pieces);
        closeFiles(files);
        EXPECT_EQ(liveBlocks, before);
        osFaults = {};
    }
}

INSTANTIATE_TEST_SUITE_P(PageCache, RefusedMemory, testing::Values(0, 1));

TEST(PageCache, HoldsThePagesOfTheLargestFileUntilTheLastFileIsClosed)
{
    const int before = liveBlocks;
    Files files = openFiles(MAX_PAGES_IN_FILE);
    auto readAll = [](OpenFile* file) {
        osFaults.transfers.clear();
        NodeView view = {};
        for (int number = 0; number < MAX_PAGES_IN_FILE; ++number) {
            EXPECT_EQ(cachedPageView(file, &view, number), IX_OK);
        }
        return osFaults.transfers.size();
    };
    const int reads = 1 + (MAX_PAGES_IN_FILE - 1 + PAGES_IN_RUN - 1) / PAGES_IN_RUN;
    EXPECT_EQ(readAll(&files[0]), reads);
    EXPECT_EQ(readAll(&files[0]), 0U);
    EXPECT_EQ(liveBlocks, before + MOST_ADDED_PIECES);
    EXPECT_EQ(readAll(&files[1]), reads); // in the place of most of the others
    EXPECT_EQ(liveBlocks, before + MOST_ADDED_PIECES);

    EXPECT_EQ(closeDescriptor(files[1].descriptor), 0);
    EXPECT_EQ(liveBlocks, before + MOST_ADDED_PIECES);
    EXPECT_EQ(closeDescriptor(files[0].descriptor), 0);
    EXPECT_EQ(liveBlocks, before);
}

TEST(PageCache, ForgetsPagesThatAreWritten)
{
    Files files = openFiles(2 * CACHE_BLOCKS);
    osFaults = {.call = OS_CALL_ALLOCATE, .first = 1, .lasting = true};
    NodeView page = {};
    auto view = [&](int file, int number) {
        EXPECT_EQ(cachedPageView(&files[static_cast<size_t>(file)], &page, number), IX_OK);
        return std::string(reinterpret_cast<const char*>(page.node), 1024);
    };
    const std::string others = pageOfVersion(1);
    view(0, 0);
    view(0, 1); // and fifteen more
    for (int number : {0, 2}) {
        osWriteAt(files[0].descriptor, pageAt(number), others.data(), 1024);
    }
    doubtFile(&files[0]);
    EXPECT_EQ(view(0, 0), others);
    EXPECT_EQ(view(0, 2), others);
    const std::string damaged(1024, '\xff');
    osWriteAt(files[0].descriptor, pageAt(0), damaged.data(), 1024);
    doubtFile(&files[0]);
    EXPECT_EQ(cachedPageView(&files[0], &page, 0), IX_DESCENT_FAILED);
    EXPECT_EQ(cachedPageView(&files[0], &page, 0), IX_DESCENT_FAILED);

    std::string ours = pageOfVersion(2);
    view(0, 10);
    fileState.lastIoError = IX_PAGE_IO; // of an earlier page
    view(0, 11);
    EXPECT_EQ(lastIoError(), IX_OK);
    files[0].openMode = OPEN_EXCLUSIVE;
    EXPECT_EQ(cachedPageWrite(&files[0], reinterpret_cast<uint8_t*>(ours.data()), 12), IX_OK);
    for (int number = 0; number < 2 * CACHE_BLOCKS; ++number) {
        view(1, number);
    }
    EXPECT_EQ(view(0, 12), ours);
    closeFiles(files);
    osFaults = {};
}

TEST(PageCache, GivesUpAPageByItsLastUseOnceItIsWritten)
{
    Files files = openFiles(CACHE_BLOCKS + 3);
    osFaults = {.call = OS_CALL_ALLOCATE, .first = 1, .lasting = true};
    auto view = [&](int first, int behind) {
        NodeView page = {};
        for (int number = first; number < behind; ++number) {
            EXPECT_EQ(cachedPageView(&files[0], &page, number), IX_OK);
        }
    };
    auto inCache = [] {
        std::set<int> pages;
        for (int number = 0; number < CACHE_BLOCKS; ++number) {
            pages.insert(blockAt(number)->pageNumber);
        }
        return pages;
    };
    files[0].sharing.exclusively = true;
    std::string ours = pageOfVersion(1);
    EXPECT_EQ(cachedPageWrite(&files[0], reinterpret_cast<uint8_t*>(ours.data()), 0), IX_OK);
    view(1, CACHE_BLOCKS + 2); // 1 and 2 give way
    EXPECT_EQ(*inCache().begin(), 0);
    EXPECT_EQ(flushFile(&files[0]), IX_OK);
    view(CACHE_BLOCKS + 2, CACHE_BLOCKS + 3);
    EXPECT_EQ(*inCache().begin(), 3);
    closeFiles(files);
    osFaults = {};
}

// Pages of one update more than there is room for, and those of another file.
TEST(PageCache, WritesChangedPagesWhenThereAreNoOthers)
{
    Files files = openFiles(CACHE_BLOCKS + 1);
    const std::string bytes = pageOfVersion(1);
    auto write = [&](size_t file, int number) {
        files[file].openMode = OPEN_SHARED;
        files[file].sharing.exclusively = true;
        return cachedPageWrite(&files[file], reinterpret_cast<const uint8_t*>(&bytes[0]), number);
    };
    osFaults = {.call = OS_CALL_ALLOCATE, .first = 1, .lasting = true};
    for (int number = 0; number < CACHE_BLOCKS; ++number) {
        ASSERT_EQ(write(0, number), IX_OK);
    }
    EXPECT_TRUE(osFaults.transfers.empty());
    NodeView view = {};
    EXPECT_EQ(cachedPageView(&files[1], &view, 0) + write(1, 0), 2 * IX_PAGE_IO);
    osFaults = {.call = OS_CALL_WRITE, .first = 2}; // behind the header
    EXPECT_EQ(write(0, CACHE_BLOCKS), IX_PAGE_IO);
    EXPECT_EQ(write(0, CACHE_BLOCKS), IX_OK);
    EXPECT_EQ(osFaults.transfers.size(), 2U + CACHE_BLOCKS);
    closeFiles(files);
    osFaults = {};
}

// Reads every record; answers how many pages came into the cache.
uint64_t pagesBrought(IndexFile* file)
{
    uint64_t before = fileState.cache.contents;
    for (int index = MIN_INDEX; index <= MAX_INDEX; ++index) {
        ixFindFirst(file, index, nullptr, 0);
        while (ixNext(file, index, nullptr, 0) == IX_OK) {
        }
    }
    return fileState.cache.contents - before;
}

TEST(PageCache, ReadsEveryPageAgainWhenAnotherHasWritten)
{
    std::string path = freshJob("tiny");
    IndexFile files[2] = {};
    ASSERT_EQ(ixOpen(&files[0], path.c_str(), OPEN_SHARED), IX_OK);
    ASSERT_EQ(ixOpen(&files[1], path.c_str(), OPEN_SHARED), IX_OK);
    pagesBrought(&files[0]);
    EXPECT_EQ(pagesBrought(&files[0]), 0U);
    EXPECT_EQ(ixAdd(&files[1], 20, "", 1, nullptr, 0), IX_OK);
    EXPECT_EQ(pagesBrought(&files[0]), static_cast<uint64_t>(files[0].file.header.nextFreePage));

    // Behind the entry that was stepped to last, in the page that was viewed last.
    char data = 0;
    EXPECT_EQ(ixAdd(&files[1], 20, "Z", 3, "Z", 1), IX_OK);
    std::string before = fileBytes(path);
    EXPECT_EQ(ixAdd(&files[1], 20, "N", 2, "N", 1), IX_OK);
    std::string after = fileBytes(path);
    writeBytes(path, before);
    EXPECT_EQ(ixFindFirst(&files[0], 20, nullptr, 0), IX_OK);
    writeBytes(path, after);
    EXPECT_EQ(ixNext(&files[0], 20, &data, 1), IX_OK);
    EXPECT_EQ(data, 'N');
    EXPECT_EQ(ixClose(&files[0]) + ixClose(&files[1]), IX_OK);
}

// As long as the lock is not held others may write at any time.
TEST(PageCache, AsksForTheHeaderBeforeAPageOutsideTheFileLock)
{
    const std::string path = freshJob("tiny");
    IndexFile file = {};
    ASSERT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
    auto transfers = [&] {
        osFaults.transfers.clear();
        NodeView view = {};
        EXPECT_EQ(cachedPageView(&file.file, &view, file.file.header.rootPage), IX_OK);
        return osFaults.transfers.size();
    };
    EXPECT_EQ(transfers(), 1U);
    poke32(path, 36, 1000); // change counter
    EXPECT_EQ(transfers(), 2U);
    EXPECT_EQ(transfers(), 1U);
    osFaults = {.call = OS_CALL_READ, .first = 1};
    EXPECT_EQ(transfers(), 2U);
    osFaults = {};
    EXPECT_EQ(ixClose(&file), IX_OK);
}

} // namespace
