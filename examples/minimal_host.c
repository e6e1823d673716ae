/*
 * A host of the library: prints what the chains and profiles of a job are made of.
 *
 *   minimal_host JOB
 *
 * Valid as C99 and as C++17, on Windows and Linux.
 */
#include "orvIdx.h"

#include <stdio.h>

static void printChain(const ChainElement* chain)
{
    const ChainMember* member;
    printf("chain %s", chain->name);
    for (member = chain->firstMember; member != NULL; member = member->next) {
        const ChainMemberPayload* payload = &member->payload;
        switch (member->memberKind) {
        case CHAIN_MEMBER_POINT:
            printf(", point %s", payload->point.name);
            break;
        case CHAIN_MEMBER_CURVE:
            printf(", curve %s", payload->curve.name);
            break;
        case CHAIN_MEMBER_SPIRAL:
            printf(", spiral %s", payload->spiral.name);
            break;
        case CHAIN_MEMBER_SHIFT:
            printf(", shift");
            break;
        case CHAIN_MEMBER_GAP:
            printf(", gap");
            break;
        }
    }
    printf("%s\n", chain->unresolvedMembers ? " and what could not be read" : "");
}

static void printProfile(const ProfileElement* profile)
{
    int32_t i;
    printf("profile %s\n", profile->name);
    for (i = 0; i < profile->vertexCount; ++i) {
        const ProfileVertex* vertex = &profile->vertices[i];
        printf("  %.3f %.3f\n", vertex->station, vertex->elevation);
    }
}

/* Walks all elements of a kind, one step for each that is counted: one that cannot be read is not
 * the end. Returns how many could not be read. */
static uint32_t printAll(IdxConnection* job, uint32_t kind)
{
    void* element = NULL;
    uint32_t count = 0;
    uint32_t unread = 0;
    uint32_t i;
    if (orvIdx_numberOfElements(job, kind, &count, NULL) != IDX_OK) ++unread;
    for (i = 0; i < count; ++i) {
        int32_t result = i == 0 ? orvIdx_readFirstElement(job, kind, &element)
                                : orvIdx_readNextElement(job, kind, &element);
        if (result != IDX_OK) {
            ++unread;
            continue;
        }
        if (kind == ELEMENT_CHAIN) printChain((const ChainElement*)element);
        if (kind == ELEMENT_PROFILE) printProfile((const ProfileElement*)element);
        orvIdx_freeElement(kind, &element);
    }
    return unread;
}

int main(int argumentCount, char** arguments)
{
    IdxConnection* job = NULL;
    char* names = NULL;
    uint32_t count = 0;
    uint32_t unread;
    int32_t result;

    if (argumentCount != 2) {
        fprintf(stderr, "usage: minimal_host JOB\n");
        return 2;
    }
    result = orvIdx_connectToOrvaneOrvFile(&job, arguments[1], 0);
    if (result != IDX_OK) {
        fprintf(stderr, "%s: %s\n", arguments[1],
                result == IDX_OLDER_FORMAT ? "a job database of the older format"
                                           : "cannot be opened as a job database");
        return 1;
    }

    if (orvIdx_numberOfElements(job, ELEMENT_POINT, &count, &names) == IDX_OK) {
        printf("%u points: %s\n", (unsigned)count, names);
        orvIdx_freeElementNameList(&names);
    }
    unread = printAll(job, ELEMENT_CHAIN);
    unread += printAll(job, ELEMENT_PROFILE);
    if (unread > 0) fprintf(stderr, "%u that cannot be read\n", (unsigned)unread);

    result = orvIdx_disconnectFromOrvaneOrvFile(&job);
    return result == IDX_OK && unread == 0 ? 0 : 1;
}
