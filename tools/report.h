// What the companion program reports on standard output: text, by Write, or JSON. A
// report that cannot be delivered never stops the work it is about; the exit status
// tells.
#pragma once

#include <nlohmann/json_fwd.hpp>

// First thing in main, before anything is opened or written: a reader who goes away, or a
// full disk, ends no work, and no file gets the number of a standard stream that is
// closed.
void PrepareReport();
// At the program's end: hands out what is left. Returns the exit status: `status`, or 1
// instead of 0 when some of the report could not be delivered.
int FinishReport(int status);

// ---- JSON: members in the order given, two blanks a level. Bytes that are no UTF-8 come
// out as U+FFFD. ----
using Json = nlohmann::ordered_json;

// A whole document and a line end.
void WriteJson(const Json& document);

// A document that need not be held as a whole: an object whose elements under one key are
// written as they come.
struct JsonList {
    bool empty = true;
};
// The members in front of the list, at least none, and its key. Between Begin and End
// only AddToJsonList may write to standard output.
JsonList BeginJsonList(const Json& members, const char* key);
// The element is written at once and need not be kept.
void AddToJsonList(JsonList& list, const Json& element);
// The members behind the list, for what is known only at the end. Must also be called
// when the work fails in between, or the document stays open.
void EndJsonList(const JsonList& list, const Json& members);
