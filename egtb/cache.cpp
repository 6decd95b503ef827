// The block cache: one list of all used slots by last use, and for every table side 32
// hash chains by block number. Links are slot numbers, so that the cache is one piece of
// memory.
#include "egtb/cache.h"

#include <algorithm>
#include <memory>
#include <new>

#include "board/types.h"
#include "egtb/registry.h"

namespace {

using SlotNumber = std::uint32_t;  // slot + 1; 0 is none

// What a slot holds and where it hangs; its 32 bytes and the data area's 8228 are what a
// slot takes of the cache's size.
struct CacheHeader {
    std::int32_t entry;
    std::int32_t side;
    std::uint32_t block;
    SlotNumber newer, older;    // list by last use
    SlotNumber before, behind;  // chain of the bucket
    std::uint32_t unused;
};
static_assert(sizeof(CacheHeader) == 32);

// Room for a block and for what decoding may need beside it.
constexpr std::size_t kDataSize = 8228;
constexpr std::size_t kSlotSize = sizeof(CacheHeader) + kDataSize;
// Smaller buffers do not count as a cache.
constexpr std::size_t kSmallestCache = 32;
// A size that no machine has, and whose slots still have 32-bit numbers: larger ones are
// not even tried.
constexpr int kMaxCacheLog2 = 44;

// The cache: headers first, then the data areas, in one piece of memory.
struct {
    std::unique_ptr<std::uint8_t[]> memory;
    CacheHeader* headers = nullptr;
    std::uint8_t* dataAreas = nullptr;
    std::uint32_t slots = 0;
    // its use
    std::uint32_t untouched = 0;  // slots from here on were never used
    SlotNumber firstFree = 0;     // used once, then given back; linked by `older`
    SlotNumber newest = 0, oldest = 0;
    std::uint64_t misses = 0;
} TableCache;

CacheHeader& Header(SlotNumber slot) { return TableCache.headers[slot - 1]; }
std::uint8_t* DataOf(SlotNumber slot) {
    return TableCache.dataAreas + (slot - 1) * kDataSize;
}

// The head of the chain that the header's block belongs to.
SlotNumber& BucketOf(const CacheHeader& header) {
    return Tables[header.entry][header.side].bucket[header.block % kCacheBuckets];
}

// The list is linked both ways, so that a slot leaves it without a walk; an end of the
// list is a field of the cache instead of a neighbour.
void UnlinkFromUse(SlotNumber slot) {
    const CacheHeader& header = Header(slot);
    (header.newer != 0 ? Header(header.newer).older : TableCache.newest) = header.older;
    (header.older != 0 ? Header(header.older).newer : TableCache.oldest) = header.newer;
}

void LinkAsNewest(SlotNumber slot) {
    CacheHeader& header = Header(slot);
    header.newer = 0;
    header.older = TableCache.newest;
    (TableCache.newest != 0 ? Header(TableCache.newest).newer : TableCache.oldest) = slot;
    TableCache.newest = slot;
}

void UnlinkFromBucket(SlotNumber slot) {
    const CacheHeader& header = Header(slot);
    (header.before != 0 ? Header(header.before).behind : BucketOf(header)) =
        header.behind;
    if (header.behind != 0) Header(header.behind).before = header.before;
}

void LinkFirstInBucket(SlotNumber slot) {
    CacheHeader& header = Header(slot);
    SlotNumber& bucket = BucketOf(header);
    header.before = 0;
    header.behind = bucket;
    if (bucket != 0) Header(bucket).before = slot;
    bucket = slot;
}

void LinkInFront(SlotNumber slot) {
    LinkAsNewest(slot);
    LinkFirstInBucket(slot);
}

// 0 when the block is not cached. Blocks used last stand first in their chain.
SlotNumber FindBlock(const TableSide& table, std::uint32_t block) {
    SlotNumber slot = table.bucket[block % kCacheBuckets];
    while (slot != 0 && Header(slot).block != block) slot = Header(slot).behind;
    return slot;
}

// A slot for a new block: a free one, or the one whose last use lies furthest back.
SlotNumber TakeSlot() {
    if (TableCache.firstFree != 0) {
        const SlotNumber slot = TableCache.firstFree;
        TableCache.firstFree = Header(slot).older;
        return slot;
    }
    if (TableCache.untouched < TableCache.slots) return ++TableCache.untouched;
    const SlotNumber slot = TableCache.oldest;
    UnlinkFromUse(slot);
    UnlinkFromBucket(slot);
    return slot;
}

// The slot hangs in neither list then: TakeSlot has taken it out of both.
void GiveBackSlot(SlotNumber slot) {
    Header(slot).older = TableCache.firstFree;
    TableCache.firstFree = slot;
}

// The file is opened by the first read and stays open.
bool OpenFile(TableSide& table) {
    if (table.file) return true;
    table.file = OpenTableFile(table.path.c_str());
    if (table.file) return true;
    // Too many open files, perhaps.
    CloseTableFiles();
    table.file = OpenTableFile(table.path.c_str());
    return table.file != nullptr;
}

// A plain file ends within this block before the listed number of values. Missing bytes
// are filled with 127, which is "no value" for a byte; but no two bytes of 127 say "no
// value", so that a table of 16-bit values must have all of a block.
bool IsShortBlock(const TableSide& table, std::int64_t offset, std::size_t size) {
    const std::int64_t listed = 2 * std::int64_t{table.size} - offset;
    return static_cast<std::int64_t>(size) <
           std::min<std::int64_t>(listed, static_cast<std::int64_t>(kBlockSize));
}

// Reads or decodes a block into a slot's data area. False on any failure; the area's
// contents are undefined then.
bool LoadBlock(TableSide& table, bool wide, std::uint32_t block, std::uint8_t* data) {
    if (!OpenFile(table)) return false;
    if (table.compressed)
        return ReadCompressedBlock(*table.compressed, table.file.get(), block, data) == 0;
    const std::int64_t offset =
        std::int64_t{block} * static_cast<std::int64_t>(kBlockSize);
    const std::int64_t left = FileSize(table.file.get()) - offset;
    // The last block is a shorter one. Beyond it there is nothing: never what another
    // block left there.
    const auto size = static_cast<std::size_t>(
        std::clamp<std::int64_t>(left, 0, static_cast<std::int64_t>(kBlockSize)));
    if (wide && IsShortBlock(table, offset, size)) return false;
    if (!ReadAt(table.file.get(), offset, data, size)) return false;
    std::fill(data + size, data + kBlockSize, std::uint8_t{127});
    return true;
}

// The byte at an offset of a block; -1 after a failure, which drops the table side.
int CachedByte(int entry, int side, std::uint32_t block, std::size_t offset) {
    TableSide& table = Tables[entry][side];
    if (const SlotNumber slot = FindBlock(table, block); slot != 0) {
        // Neighbouring probes hit the same block: the links are mostly in place already.
        if (slot != TableCache.newest) {
            UnlinkFromUse(slot);
            LinkAsNewest(slot);
        }
        if (slot != BucketOf(Header(slot))) {
            UnlinkFromBucket(slot);
            LinkFirstInBucket(slot);
        }
        return DataOf(slot)[offset];
    }
    const SlotNumber slot = TakeSlot();
    ++TableCache.misses;
    // A file that failed once is not asked again: a search must not wait for a bad disk
    // at every node.
    if (!LoadBlock(table, EntryOf(entry).wide, block, DataOf(slot))) {
        table.path.clear();
        table.file.reset();
        GiveBackSlot(slot);
        return -1;
    }
    CacheHeader& header = Header(slot);
    header.entry = entry;
    header.side = side;
    header.block = block;
    LinkInFront(slot);
    return DataOf(slot)[offset];
}

// Seven losses in 127 moves, one more than a byte can say: kppkp, Black to move.
constexpr int kLongestEntry = 36;
static_assert(TablebaseList[kLongestEntry].name == "kppkp");
constexpr std::uint32_t kLongestLosses[] = {56802428, 56811076, 56849992, 56858640,
                                            59592489, 67775659, 71071628};
constexpr int kLossIn127 = -32639;
constexpr int kLargestValue = 32766;  // a mate in one; mated is the same below zero

// Bytes are signed: 127 - n is a win in n moves, n - 126 a loss in n moves. The codes
// left over at the negative end are -127, a loss in 126 moves, and -128, a win in 127
// moves.
bool ValueOfByte(int byte, int& value) {
    const int b = byte < 128 ? byte : byte - 256;
    if (b == 127) return false;
    if (b == 0)
        value = 0;
    else if (b > 0)
        value = b + 32640;
    else if (b == -127)
        value = -32640;
    else if (b == -128)
        value = 32640;
    else
        value = b - 32640;
    return true;
}

// A value of 16 bits, low byte first, in the same units as the result. Words beyond the
// possible distances are "no value".
bool ReadWideValue(int entry, int side, std::uint32_t index, int& value) {
    const std::uint32_t block = index >> (kBlockBits - 1);
    const std::size_t offset = 2 * std::size_t{index & (kBlockSize / 2 - 1)};
    const int low = CachedByte(entry, side, block, offset);
    if (low < 0) return false;
    const int high = CachedByte(entry, side, block, offset + 1);
    if (high < 0) return false;
    const int word = static_cast<std::int16_t>(low | high << 8);
    if (word < -kLargestValue || word > kLargestValue) return false;
    value = word;
    return true;
}

}  // namespace

// The old memory goes first, so that the two are never held at once.
bool AllocateTableCache(int bytesLog2) {
    TableCache.memory.reset();
    TableCache.slots = 0;
    InitTableCache();
    if (bytesLog2 < 0 || bytesLog2 > kMaxCacheLog2) return false;
    const std::size_t bytes = std::size_t{1} << bytesLog2;
    TableCache.memory.reset(new (std::nothrow) std::uint8_t[bytes]);
    if (!TableCache.memory) return false;
    if (bytes >= kSmallestCache)
        TableCache.slots = static_cast<std::uint32_t>(bytes / kSlotSize);
    // Headers come first for their alignment.
    TableCache.headers = reinterpret_cast<CacheHeader*>(TableCache.memory.get());
    TableCache.dataAreas =
        TableCache.memory.get() + TableCache.slots * sizeof(CacheHeader);
    InitTableCache();
    return true;
}

void InitTableCache() {
    TableCache.untouched = 0;
    TableCache.firstFree = TableCache.newest = TableCache.oldest = 0;
    TableCache.misses = 0;
    for (auto& sides : Tables)
        for (TableSide& side : sides) side.bucket.fill(0);
}

std::uint32_t TableCacheBlocks() { return TableCache.slots; }
std::uint64_t TableCacheMisses() { return TableCache.misses; }

bool ReadTableValue(int entry, int side, std::uint32_t index, int& value) {
    if (ShapeOf(entry).symmetric) side = WHITE;
    const TableSide& table = Tables[entry][side];
    if (table.path.empty() || TableCache.slots == 0 || index >= table.size) return false;
    if (entry == kLongestEntry && side == BLACK &&
        std::find(std::begin(kLongestLosses), std::end(kLongestLosses), index) !=
            std::end(kLongestLosses)) {
        value = kLossIn127;
        return true;
    }
    if (EntryOf(entry).wide) return ReadWideValue(entry, side, index, value);
    const int byte =
        CachedByte(entry, side, index >> kBlockBits, index & (kBlockSize - 1));
    return byte >= 0 && ValueOfByte(byte, value);
}
