// Index and lists grow side by side; the lists' place is known once the index is
// complete.
#include "tools/bookimage.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/bytes.h"

namespace {

// The most points of one kind: book learning rescales at 255, and two counts of 255 would
// be the word of a removed move.
constexpr std::uint64_t kMostPoints = 254;

void Append32le(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
    bytes.resize(bytes.size() + 4);
    Put32le(bytes.data() + bytes.size() - 4, value);
}

}  // namespace

// The list's offset counts from the first list until the book is written.
void AddPosition(BookImage& image, std::int32_t key1, std::int32_t key2,
                 const std::vector<BookEntry>& entries) {
    Append32le(image.index, static_cast<std::uint32_t>(key1));
    Append32le(image.index, static_cast<std::uint32_t>(key2));
    Append32le(image.index, static_cast<std::uint32_t>(image.lists.size()));
    ++image.nodes;
    const std::size_t count = std::min<std::size_t>(entries.size(), kMaxBookEntries);
    image.lists.push_back(static_cast<std::uint8_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        const BookEntry& entry = entries[i];
        image.lists.insert(image.lists.end(),
                           {entry.from, entry.to, static_cast<std::uint8_t>(entry.word),
                            static_cast<std::uint8_t>(entry.word >> 8)});
    }
}

bool WriteBookImage(const BookImage& image, const std::string& name,
                    std::string& reason) {
    const std::size_t listsAt = kBookHeaderSize + image.index.size();
    if (listsAt + image.lists.size() > std::numeric_limits<std::uint32_t>::max()) {
        reason = "the book would exceed 4 GB";
        return false;
    }
    std::vector<std::uint8_t> file(listsAt + image.lists.size());
    std::memcpy(file.data(), kBookMagic, kBookMagicSize);
    Put32le(file.data() + kBookVersionAt, 1);
    Put32le(file.data() + kBookNodesAt, image.nodes);
    std::copy(image.index.begin(), image.index.end(), file.begin() + kBookHeaderSize);
    // Offsets within the lists become offsets of the file.
    for (std::size_t at = kBookHeaderSize + 8; at < listsAt; at += kBookRecordSize)
        Put32le(&file[at], Get32le(&file[at]) + static_cast<std::uint32_t>(listsAt));
    std::copy(image.lists.begin(), image.lists.end(),
              file.begin() + static_cast<std::ptrdiff_t>(listsAt));
    if (ReplaceFile(name.c_str(), file.data(), file.size())) return true;
    reason = "cannot write " + name;
    return false;
}

// Each move is scaled by itself: its score is what the engine chooses by.
std::uint16_t ScaledWord(std::uint64_t pointsFor, std::uint64_t pointsAgainst) {
    const std::uint64_t most = std::max(pointsFor, pointsAgainst);
    if (most > kMostPoints) {
        pointsFor = (pointsFor * kMostPoints + most / 2) / most;
        pointsAgainst = (pointsAgainst * kMostPoints + most / 2) / most;
    }
    return StatisticsWord(static_cast<int>(pointsFor), static_cast<int>(pointsAgainst));
}
