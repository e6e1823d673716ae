/*
 * The element records that the library hands to its host, one structure a kind.
 *
 * They are part of the binary interface: member order, widths and alignment are
 * fixed, whatever packing the host has in force where it includes this; where a
 * compiler would lay them out otherwise, it refuses them. Texts are zero-terminated single-byte
 * strings in arrays of the width given; the unused rest of an array is zero. Numbers are 32-bit
 * signed integers and IEEE doubles, a double on a multiple of 8 bytes also on 32-bit platforms.
 * Every byte is determined, those between members too.
 * Stations, lengths, coordinates and elevations are in the project's own length
 * unit, grades in rise over run. Numbers are handed out as they are stored: that angles
 * are in decimal degrees is known of curve10 alone.
 *
 * For hosts, in C99 or later or in C++11 or later; included by orvIdx.h.
 */
#ifndef ORVIDX_ELEMENT_RECORDS_H
#define ORVIDX_ELEMENT_RECORDS_H

#include <stddef.h>
#include <stdint.h>

/* 32-bit GCC on Linux would align a double in a structure to 4 bytes; others do not. */
#if defined(__GNUC__)
#define ORVIDX_ALIGN_8 __attribute__((aligned(8)))
#else
#define ORVIDX_ALIGN_8
#endif

#pragma pack(push, 8)

/* Kind 0: a COGO point. */
typedef struct PointElement {
    char setText[31];     /* set text */
    char name[17];        /* point name: digits, or a letter prefix and digits */
    char featureText[25]; /* feature of the point, empty when it has none */
    char firstNote[257];  /* first note */
    char longText[1006];  /* long text, up to 1000 characters */
    ORVIDX_ALIGN_8 double real4;
    int32_t integer1; /* in a survey chain's list: 2 marks a gap */
    ORVIDX_ALIGN_8 double real1;
    ORVIDX_ALIGN_8 double real2;
    ORVIDX_ALIGN_8 double real3;
    int32_t number1; /* first number text, as a decimal integer */
    int32_t integer7;
    char text1[250];
    char text2[250];
    char text3[250];
    char text4[250];
} PointElement;

/* Kind 1: a straight line between two points. */
typedef struct LineElement {
    char name[16];
    char beginPointName[16];
    char endPointName[16];
    PointElement beginPoint; /* complete copies: changing one changes nothing else */
    PointElement endPoint;
    char secondaryCode[25];
    char noteText[263];
} LineElement;

/* Kind 2: a horizontal circular curve. The numbers in brackets are those of the
 * stored curve values. */
typedef struct CurveElement {
    char name[16];
    ORVIDX_ALIGN_8 double curve1;  /* [11] */
    ORVIDX_ALIGN_8 double curve2;  /* [10] */
    ORVIDX_ALIGN_8 double curve3;  /* [2] */
    ORVIDX_ALIGN_8 double curve4;  /* [1] */
    ORVIDX_ALIGN_8 double curve5;  /* [8] */
    ORVIDX_ALIGN_8 double curve6;  /* [7] */
    ORVIDX_ALIGN_8 double curve7;  /* [14] */
    ORVIDX_ALIGN_8 double curve8;  /* [12] */
    ORVIDX_ALIGN_8 double curve9;  /* [13] */
    ORVIDX_ALIGN_8 double curve10; /* [21] less [20], the latter brought to 0 to 360 degrees */
    ORVIDX_ALIGN_8 double curve11; /* [3] */
    ORVIDX_ALIGN_8 double curve12; /* [18] */
    ORVIDX_ALIGN_8 double curve13; /* [23] */
    ORVIDX_ALIGN_8 double curve14; /* [24] */
    char textA[250];
    char textB[250];
    char secondaryCode[25];
    char noteText[259];
} CurveElement;

/* Kind 3: a spiral (transition). The numbers in brackets are those of the stored
 * spiral values; where four are given they hold for spiral types 1, 2, 3 and 4,
 * "-" being 0.0. Another type has 0.0 in all of those members. */
typedef struct SpiralElement {
    char name[16];
    int32_t spiralType;             /* 1 to 4 in a sound job: [40] without its fraction */
    ORVIDX_ALIGN_8 double spiral1;  /* [5] */
    ORVIDX_ALIGN_8 double spiral2;  /* -, [10], [7], [10] */
    ORVIDX_ALIGN_8 double spiral3;  /* [10], -, [10], [7] */
    ORVIDX_ALIGN_8 double spiral4;  /* [1], [22], [22], [22] */
    ORVIDX_ALIGN_8 double spiral5;  /* [2], [23], [23], [23] */
    ORVIDX_ALIGN_8 double spiral6;  /* [17], [20], [17], [17] */
    ORVIDX_ALIGN_8 double spiral7;  /* [18], [21], [18], [18] */
    ORVIDX_ALIGN_8 double spiral8;  /* [13] */
    ORVIDX_ALIGN_8 double spiral9;  /* [14] */
    ORVIDX_ALIGN_8 double spiral10; /* [42], [44], [42], [44] */
    ORVIDX_ALIGN_8 double spiral11; /* [43], [45], [43], [45] */
    ORVIDX_ALIGN_8 double spiral12; /* [44], [42], [44], [42] */
    ORVIDX_ALIGN_8 double spiral13; /* [45], [43], [45], [43] */
    ORVIDX_ALIGN_8 double spiral14; /* [19] */
    ORVIDX_ALIGN_8 double spiral15; /* [46] */
    ORVIDX_ALIGN_8 double spiral16; /* [31] */
    ORVIDX_ALIGN_8 double spiral17; /* [32] */
    ORVIDX_ALIGN_8 double spiral18; /* [35], [38], [38], [38] */
    char textA[250];
    char secondaryCode[25];
    char noteText[261];
} SpiralElement;

/* ChainMember.memberKind */
#define CHAIN_MEMBER_POINT 0
#define CHAIN_MEMBER_CURVE 2
#define CHAIN_MEMBER_SPIRAL 3
#define CHAIN_MEMBER_SHIFT 7
#define CHAIN_MEMBER_GAP 8

/* What a chain member carries: the element its kind names; zero bytes for shifts
 * and gaps. */
typedef union ChainMemberPayload {
    PointElement point;
    CurveElement curve;
    SpiralElement spiral;
} ChainMemberPayload;

/* One member of a chain, which stands in the block of the chain element. */
typedef struct ChainMember {
    struct ChainMember* next; /* null for the last */
    int32_t memberKind;       /* CHAIN_MEMBER_... */
    ChainMemberPayload payload;
} ChainMember;

/* Kind 4: a chain (horizontal alignment). Its description, with those of the chains that it
 * refers to in their places, has up to 131,072 characters, which is 65,536 members; a chain
 * with a longer one cannot be read. */
typedef struct ChainElement {
    char name[16];
    char secondaryCode[25];
    char noteText[257];
    uint8_t unresolvedMembers; /* 1 when a member of the description could not be handed out, or a
                                  chain referred to exists and cannot be read; not for a missing
                                  part of a group of spirals and curve, or a missing chain */
    ChainMember* firstMember;  /* in description order, null for a chain without members */
} ChainElement;

/* ProfileVertex.vertexCode */
#define VERTEX_POINT 0        /* ordinary point; begin or end of a profile at a curve */
#define VERTEX_INTERSECTION 1 /* intersection point of a vertical curve with two lengths */
#define VERTEX_LINK_BEGIN 2   /* last point of a profile segment */
#define VERTEX_LINK_END 3     /* first point of the next profile segment */
#define VERTEX_CURVE_BEGIN 4  /* begin of a vertical curve */
#define VERTEX_CURVE_END 5    /* end of a vertical curve */
#define VERTEX_HIGH_POINT 6   /* turning point of a vertical curve, its highest point */
#define VERTEX_LOW_POINT 7    /* turning point of a vertical curve, its lowest point */

typedef struct ProfileVertex {
    int32_t vertexCode; /* VERTEX_... */
    ORVIDX_ALIGN_8 double station;
    int32_t segmentNumber; /* starts at the profile's header value, one more after each link */
    ORVIDX_ALIGN_8 double elevation;
    ORVIDX_ALIGN_8 double backLength;  /* of the curve at an intersection point, else 0.0 */
    ORVIDX_ALIGN_8 double aheadLength; /* likewise */
} ProfileVertex;

/* Kind 5: a profile (vertical alignment). */
typedef struct ProfileElement {
    char name[16];
    char secondaryCode[25];
    char noteText[259];
    int32_t vertexCount;
    ProfileVertex* vertices; /* vertexCount vertices in station order, never null */
} ProfileElement;

/* Kind 6: a survey chain, a named list of points. */
typedef struct SurveyChainElement {
    char setText[31];
    char name[17];
    char featureText[25]; /* feature of the chain, empty when it has none */
    char note[259];
    int32_t number1; /* first number text, as a decimal integer */
    int32_t integer4;
    uint8_t unresolvedPoints; /* 1 when a name of the list is neither GAP nor a point that can be
                                 read */
    int32_t pointCount;
    PointElement* points; /* pointCount points in list order, never null */
} SurveyChainElement;

#pragma pack(pop)

/* An array of negative size, and so an error, when the record has another size or its
 * last member another offset. */
#define ORVIDX_LAYOUT(record, lastMember, offset, size)                                            \
    typedef char record##LayoutIsRight                                                             \
        [offsetof(record, lastMember) == (offset) && sizeof(record) == (size) ? 1 : -1]
/* With pointers of 4 and of 8 bytes. */
#define ORVIDX_BY_POINTER(with4, with8) (sizeof(void*) == 4 ? (with4) : (with8))

ORVIDX_LAYOUT(PointElement, text4, 2134, 2384);
ORVIDX_LAYOUT(LineElement, noteText, 4841, 5104);
ORVIDX_LAYOUT(CurveElement, noteText, 653, 912);
ORVIDX_LAYOUT(SpiralElement, noteText, 443, 704);
ORVIDX_LAYOUT(ChainMember, payload, ORVIDX_BY_POINTER(8, 16), ORVIDX_BY_POINTER(2392, 2400));
ORVIDX_LAYOUT(ChainElement, firstMember, ORVIDX_BY_POINTER(300, 304), ORVIDX_BY_POINTER(304, 312));
ORVIDX_LAYOUT(ProfileVertex, aheadLength, 40, 48);
ORVIDX_LAYOUT(ProfileElement, vertices, 304, ORVIDX_BY_POINTER(308, 312));
ORVIDX_LAYOUT(SurveyChainElement, points, ORVIDX_BY_POINTER(348, 352), ORVIDX_BY_POINTER(352, 360));

#undef ORVIDX_LAYOUT
#undef ORVIDX_BY_POINTER
#undef ORVIDX_ALIGN_8

#endif
