// One buffer of raw bytes between the platform's input and all readers; lines are cut
// from its front. It always ends in a NUL.
#include "driver/input.h"

#include <algorithm>
#include <cstring>

#include "platform/input.h"
#include "search/outward.h"

char InputLine[kInputLineSize];

namespace {

// Raw input that was read but not yet consumed.
struct {
    char PendingInput[kPendingInputSize];
    int PendingLength;      // bytes in PendingInput; a NUL follows them
    bool Ignored;           // see IgnoreInput
    bool DroppingLongLine;  // an over-long line's head was taken, its rest is not wanted
} Input;

// The first line's end in the buffer, nullptr when no whole line is there.
char* PendingLineEnd() {
    return static_cast<char*>(std::memchr(Input.PendingInput, '\n',
                                          static_cast<std::size_t>(Input.PendingLength)));
}

void RemovePending(int count) {
    Input.PendingLength -= count;
    std::memmove(Input.PendingInput, Input.PendingInput + count,
                 static_cast<std::size_t>(Input.PendingLength));
    Input.PendingInput[Input.PendingLength] = '\0';
}

// Forgets what belongs to a line whose head was already taken.
void DropRestOfLongLine() {
    if (!Input.DroppingLongLine) return;
    const char* lineEnd = PendingLineEnd();
    Input.DroppingLongLine = lineEnd == nullptr;
    RemovePending(lineEnd == nullptr
                      ? Input.PendingLength
                      : static_cast<int>(lineEnd - Input.PendingInput) + 1);
}

// One read, as much as there is room for; false at the end of the input, or when there is
// no way to read on. What came before that still counts: the last line needs no line end.
bool ReadMore() {
    const int room = kPendingInputSize - 1 - Input.PendingLength;
    const int got = ReadInput(Input.PendingInput + Input.PendingLength, room);
    if (got <= 0) {
        if (Input.PendingLength == 0 || Input.DroppingLongLine) return false;
        Input.PendingInput[Input.PendingLength++] = '\n';
    } else {
        Input.PendingLength += got;
        DropRestOfLongLine();
    }
    Input.PendingInput[Input.PendingLength] = '\0';
    return true;
}

// The same for readers of lines: a line longer than the buffer is cut.
bool ReadMoreOfLine() {
    if (!ReadMore()) return false;
    if (Input.PendingLength < kPendingInputSize - 1 || PendingLineEnd() != nullptr)
        return true;
    Input.PendingInput[kInputLineSize - 1] = '\n';
    Input.PendingLength = kInputLineSize;
    Input.PendingInput[Input.PendingLength] = '\0';
    Input.DroppingLongLine = true;
    return true;
}

// Moves the first line of PendingInput, which holds one, to `line`.
void TakeLine(char* line, int size) {
    char* lineEnd = PendingLineEnd();
    int length = static_cast<int>(lineEnd - Input.PendingInput);
    const int whole = length + 1;
    if (length > 0 && Input.PendingInput[length - 1] == '\r') --length;
    // A NUL would end the line for the readers of C strings.
    std::replace(Input.PendingInput, Input.PendingInput + length, '\r', ' ');
    std::replace(Input.PendingInput, Input.PendingInput + length, '\0', ' ');
    length = std::min(length, size - 1);
    std::memcpy(line, Input.PendingInput, static_cast<std::size_t>(length));
    line[length] = '\0';
    RemovePending(whole);
}

}  // namespace

bool ReadCommandLine() {
    while (PendingLineEnd() == nullptr)
        if (!ReadMoreOfLine()) return false;
    TakeLine(InputLine, kInputLineSize);
    return true;
}

bool ReadInputCharacter(char& c) {
    while (Input.PendingLength == 0)
        if (!ReadMore()) return false;
    c = Input.PendingInput[0];
    RemovePending(1);
    return true;
}

void IgnoreInput() { Input.Ignored = true; }

bool InputAvailable() {
    if (Input.Ignored) return false;
    return PendingLineEnd() != nullptr || InputWaiting() != 0;
}

Pending ReadPendingLine(char (&line)[kPendingInputSize]) {
    if (PendingLineEnd() == nullptr) {
        if (InputWaiting() == 0) return Pending::Nothing;
        if (!ReadMoreOfLine()) return Pending::End;
        if (PendingLineEnd() == nullptr) return Pending::Nothing;
    }
    TakeLine(line, kPendingInputSize);
    return Pending::Line;
}
