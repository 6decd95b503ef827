#include "search/searcher.h"

namespace {

const Searcher* Chosen = &ClassicSearch;

}  // namespace

const Searcher& ActiveSearch() { return *Chosen; }

bool ChooseSearch(const Searcher& searcher, int bits, int threads) {
    ReleaseSearch();
    Chosen = &searcher;
    return Chosen->allocate(bits, threads);
}

void ReleaseSearch() { Chosen->release(); }
