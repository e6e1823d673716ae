#include "tools/reading/element_walk.h"

#include <algorithm>
#include <utility>

// The end of a walk looks like an element that cannot be read: it is taken for reached after so
// many of these.
constexpr int64_t STEPS_BEHIND_THE_END = 1000;

ElementWalk beginWalk(IdxConnection* job, uint32_t kind)
{
    ElementWalk walk = {job, kind, 0, 0, 0, 0, nullptr};
    uint32_t sure = 0;
    orvIdx_numberOfElements(job, kind, &sure, nullptr);
    walk.sure = sure;
    return walk;
}

// Goes on to the next place where there surely is an element.
static bool findNext(ElementWalk* walk)
{
    while (walk->steps < std::max(walk->sure, walk->there) + STEPS_BEHIND_THE_END) {
        auto* read = walk->steps == 0 ? orvIdx_readFirstElement : orvIdx_readNextElement;
        read(walk->job, walk->kind, &walk->reached);
        ++walk->steps;
        if (walk->reached == nullptr && walk->steps != walk->sure + 1) continue;
        walk->there = walk->steps;
        return true;
    }
    return false;
}

bool stepWalk(ElementWalk* walk, void** element)
{
    *element = nullptr;
    if (walk->handed == walk->there && !findNext(walk)) return false;
    ++walk->handed;
    if (walk->handed == walk->there) std::swap(*element, walk->reached);
    return true;
}

void endWalk(ElementWalk* walk) { orvIdx_freeElement(walk->kind, &walk->reached); }
