#include "search/searcher.h"

namespace {

const Searcher* Chosen = &ClassicSearch;

}  // namespace

const Searcher& ActiveSearch() { return *Chosen; }

bool ChooseSearch(const Searcher& searcher, int bits) {
    ReleaseSearch();
    Chosen = &searcher;
    return Chosen->allocate(bits);
}

void ReleaseSearch() { Chosen->release(); }
