#include "platform/path_text.h"

#include <windows.h>

std::wstring wideText(const std::string& text)
{
    int length = static_cast<int>(text.size());
    int room = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<size_t>(room), 0);
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), room);
    return wide;
}

// Stores the text in a code page. False when it has characters that the code page lacks; those
// that only look alike would be the name of another file.
static bool encode(UINT codePage, const std::wstring& wide, std::string* text)
{
    bool isUtf8 = codePage == CP_UTF8;
    DWORD flags = isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS;
    BOOL lacks = FALSE;
    BOOL* lacksOut = isUtf8 ? nullptr : &lacks; // not to be asked for UTF-8
    int length = static_cast<int>(wide.size());
    int room =
        WideCharToMultiByte(codePage, flags, wide.data(), length, nullptr, 0, nullptr, nullptr);
    text->assign(static_cast<size_t>(room), 0);
    WideCharToMultiByte(codePage, flags, wide.data(), length, text->data(), room, nullptr,
                        lacksOut);
    return !lacks;
}

std::string utf8Text(const std::wstring& text)
{
    std::string utf8;
    encode(CP_UTF8, text, &utf8);
    return utf8;
}

std::string libraryPath(const std::string& path)
{
    std::string text;
    const std::wstring wide = wideText(path);
    if (encode(GetACP(), wide, &text)) return text;
    wchar_t name[MAX_PATH];
    DWORD length = GetShortPathNameW(wide.c_str(), name, MAX_PATH);
    if (length > 0 && length < MAX_PATH && encode(GetACP(), name, &text)) return text;
    return {};
}
