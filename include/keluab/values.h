// Property values, tag arrays, rows and address lists, in their 64-bit layout. SPropValue's bytes are also part of the
// stored profile format: nothing here may ever move.
//
// Ownership. A value array that the library hands out is one head block of the allocation chain (see exports.h); every
// string, GUID, byte run and multi-valued block of its values is linked to that head, so that one UABFreeBuffer of the
// array frees all. A row set is one head block holding the rows; each row's value array is a head of its own, so a row
// set is freed with UABFreeProws and an address list with UABFreePadrlist.
//
// Threads. Plain data: the caller sees to it that nobody writes what another reads.
#pragma once

#include <cstddef>

#include "keluab/base.h"

namespace uab {

// A byte run. An empty one has cb 0; lpb is then not looked at.
struct SBinary {
  ULONG cb;  // bytes
  BYTE* lpb;
};

struct ENTRYID {
  BYTE abFlags[4];  // not examined by the library
  BYTE ab[1];       // the provider's MAPIUID (16 bytes), then bytes of the provider's own
};

struct SBinaryArray {
  ULONG cValues;
  SBinary* lpbin;
};
using ENTRYLIST = SBinaryArray;

struct SShortArray {
  ULONG cValues;
  short* lpi;
};
struct SLongArray {
  ULONG cValues;
  LONG* lpl;
};
struct SRealArray {
  ULONG cValues;
  float* lpflt;
};
struct SDoubleArray {
  ULONG cValues;
  double* lpdbl;
};
struct SLargeIntegerArray {
  ULONG cValues;
  LONGLONG* lpli;
};
struct SDateTimeArray {
  ULONG cValues;
  FILETIME* lpft;
};
struct SGuidArray {
  ULONG cValues;
  GUID* lpguid;
};
struct SLPSTRArray {
  ULONG cValues;
  char** lppszA;
};
struct SWStringArray {
  ULONG cValues;
  WCHAR** lppszW;
};

// 16 bytes: 16- and 32-bit values lie at its start; 64-bit values and single pointers fill the first 8 bytes; counts
// lie at its start with their pointer in the last 8 bytes. A number's unit is its writer's and its reader's affair: the
// library only carries it. Bytes behind a value come back as they were given, but are 0 once it was in the registry.
union SPropValueUnion {
  short i;                   // PT_I2
  LONG l;                    // PT_LONG
  ULONG ul;                  // PT_LONG, unsigned
  float flt;                 // PT_R4
  double dbl;                // PT_DOUBLE
  unsigned short b;          // PT_BOOLEAN: 0 is false, the library writes 1 for true
  LONGLONG cur;              // PT_CURRENCY, in units of 1/10000
  double at;                 // PT_APPTIME: days since 1899-12-30, with their fraction
  FILETIME ft;               // PT_SYSTIME, in 100 ns since 1601-01-01 UTC
  char* lpszA;               // PT_STRING8, ends with a 0 byte
  SBinary bin;               // PT_BINARY
  WCHAR* lpszW;              // PT_UNICODE, ends with a 0 character
  GUID* lpguid;              // PT_CLSID
  LONGLONG li;               // PT_I8
  SShortArray MVi;           // PT_MV_I2
  SLongArray MVl;            // PT_MV_LONG
  SRealArray MVflt;          // PT_MV_R4
  SDoubleArray MVdbl;        // PT_MV_DOUBLE
  SLargeIntegerArray MVcur;  // PT_MV_CURRENCY
  SDoubleArray MVat;         // PT_MV_APPTIME
  SDateTimeArray MVft;       // PT_MV_SYSTIME
  SBinaryArray MVbin;        // PT_MV_BINARY
  SLPSTRArray MVszA;         // PT_MV_STRING8
  SWStringArray MVszW;       // PT_MV_UNICODE
  SGuidArray MVguid;         // PT_MV_CLSID
  SLargeIntegerArray MVli;   // PT_MV_I8
  HRESULT err;               // PT_ERROR
  void* lpv;                 // PT_OBJECT: copied unchanged, no reference is taken
  LONG_PTR x;
};

struct SPropValue {
  ULONG ulPropTag;
  ULONG dwAlignPad;  // 0; not examined
  SPropValueUnion Value;
};

// cValues tags follow the count; an array of n tags occupies 4 * n + 4 bytes.
struct SPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[1];
};

// A tag array of N tags as a constant; address() is what slots take, which never write through it.
template <std::size_t N>
struct TagArray {
  ULONG cValues;
  ULONG aulPropTag[N];
  SPropTagArray* address() const noexcept { return reinterpret_cast<SPropTagArray*>(const_cast<TagArray*>(this)); }
};

struct SRow {
  ULONG ulAdrEntryPad;  // not examined
  ULONG cValues;
  SPropValue* lpProps;
};

// cRows rows follow the count; a set of n rows occupies 16 * n + 8 bytes.
struct SRowSet {
  ULONG cRows;
  SRow aRow[1];
};

struct ADRENTRY {
  ULONG ulReserved1;  // 0
  ULONG cValues;
  SPropValue* rgPropVals;
};

// The shape of SRowSet.
struct ADRLIST {
  ULONG cEntries;
  ADRENTRY aEntries[1];
};

struct SPropProblem {
  ULONG ulIndex;  // position in the caller's array
  ULONG ulPropTag;
  HRESULT scode;
};

// cProblem problems follow the count; room for n problems occupies 12 * n + 4 bytes.
struct SPropProblemArray {
  ULONG cProblem;
  SPropProblem aProblem[1];
};

static_assert(sizeof(SBinary) == 16 && offsetof(SBinary, lpb) == 8, "SBinary");
static_assert(sizeof(SPropValueUnion) == 16 && offsetof(SWStringArray, lppszW) == 8, "SPropValueUnion");
static_assert(sizeof(SPropValue) == 24 && offsetof(SPropValue, dwAlignPad) == 4 && offsetof(SPropValue, Value) == 8,
              "SPropValue");
static_assert(offsetof(SPropTagArray, aulPropTag) == 4 && sizeof(TagArray<3>) == 16, "SPropTagArray");
static_assert(sizeof(SRow) == 16 && offsetof(SRow, cValues) == 4 && offsetof(SRow, lpProps) == 8, "SRow");
static_assert(sizeof(ADRENTRY) == 16 && offsetof(ADRENTRY, cValues) == 4 && offsetof(ADRENTRY, rgPropVals) == 8,
              "ADRENTRY");
static_assert(offsetof(SRowSet, aRow) == 8 && offsetof(ADRLIST, aEntries) == 8, "SRowSet, ADRLIST");
static_assert(sizeof(SPropProblem) == 12 && offsetof(SPropProblemArray, aProblem) == 4, "SPropProblemArray");
static_assert(offsetof(ENTRYID, ab) == 4, "ENTRYID");

}  // namespace uab
