// A job as hosts have it: connected for as long as a test needs it, and its elements one at a
// time, with what is the same for every call checked on the way.
#pragma once

#include "tests/support/exports.h"

#include <gtest/gtest.h>

struct Connection {
    IdxConnection* job = nullptr;

    explicit Connection(const std::string& path)
    {
        EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    }
    Connection(const Connection&) = delete;
    ~Connection() { EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK); }
    operator IdxConnection*() const { return job; }
};

constexpr char FIRST[] = "(first)"; // instead of names: a step of the walk
constexpr char NEXT[] = "(next)";
constexpr char UNREADABLE[] = "(unreadable)"; // the name of what cannot be read

// An element, or none where it cannot be read.
struct Element {
    uint32_t kind;
    void* element = nullptr;

    Element(IdxConnection* job, uint32_t elementKind, const std::string& what) : kind(elementKind)
    {
        int32_t result = what == FIRST ? orvIdx_readFirstElement(job, kind, &element)
                         : what == NEXT
                             ? orvIdx_readNextElement(job, kind, &element)
                             : orvIdx_readElementbyName(job, kind, what.c_str(), &element);
        EXPECT_EQ(result, element != nullptr ? IDX_OK : IDX_ERROR);
    }
    Element(const Element&) = delete;
    ~Element()
    {
        EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
        EXPECT_EQ(element, nullptr);
        EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
    }
    explicit operator bool() const { return element != nullptr; }
    template <typename Type> const Type* as() const { return static_cast<const Type*>(element); }
    std::string name() const
    {
        if (element == nullptr) return UNREADABLE;
        if (kind == ELEMENT_POINT) return as<PointElement>()->name;
        if (kind == ELEMENT_SURVEY_CHAIN) return as<SurveyChainElement>()->name;
        return as<char>(); // the first member of the others
    }
};
