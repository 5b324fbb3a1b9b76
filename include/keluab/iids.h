// Interface identifiers.
#pragma once

#include "keluab/base.h"

namespace uab {

#if !defined(_WIN32)
inline constexpr IID IID_IUnknown = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
#endif

inline constexpr IID IID_IMAPITable = {0x00020301, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMAPIAdviseSink = {0x00020302, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMAPIProp = {0x00020303, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IProfSect = {0x00020304, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IAddrBook = {0x00020309, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMailUser = {0x0002030A, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMAPIContainer = {0x0002030B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IABContainer = {0x0002030D, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDistList = {0x0002030E, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

inline constexpr IID IID_IUABSession = {0x000203A0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IUABSupport = {0x000203A1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_UABProfAdmin = {0x000203A2, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_UABMsgServiceAdmin = {0x000203A3, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// The library's own MAPIUID: IUABSession::QueryIdentity gives an identifier that carries it.
inline constexpr MAPIUID IdentityUID = {
    {0x80, 0xF5, 0x2B, 0x3F, 0x1B, 0xE9, 0xD2, 0x11, 0x91, 0x68, 0x00, 0xC0, 0x4F, 0x8C, 0xAA, 0x0E}};

// Whether null was passed for an identifier that is taken by reference, as a caller in C can.
inline bool IsNull(const IID& iid) noexcept {
  const IID* volatile passed = &iid;  // volatile: a compiler takes for granted that no reference is null
  return passed == nullptr;
}

}  // namespace uab
