#include "tesselkit/platform/collections.h"

#include "tesselkit/platform/exceptions.h"

IMPLEMENT_DYNAMIC(CStringArray, CObject)
IMPLEMENT_DYNAMIC(CDWordArray, CObject)
IMPLEMENT_DYNAMIC(CPtrArray, CObject)
IMPLEMENT_DYNAMIC(CMapStringToString, CObject)
IMPLEMENT_DYNAMIC(CMapStringToPtr, CObject)
IMPLEMENT_DYNAMIC(CMapPtrToWord, CObject)

CStringArray::~CStringArray() = default;
CDWordArray::~CDWordArray() = default;
CPtrArray::~CPtrArray() = default;
CMapStringToString::CMapStringToString(int) {}
CMapStringToString::~CMapStringToString() = default;
CMapStringToPtr::CMapStringToPtr(int) {}
CMapStringToPtr::~CMapStringToPtr() = default;
CMapPtrToWord::CMapPtrToWord(int) {}
CMapPtrToWord::~CMapPtrToWord() = default;
