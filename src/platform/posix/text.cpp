#include "platform/text.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace qmio::platform {
namespace {

constexpr char kWide[] = "WCHAR_T";
constexpr char kUtf8[] = "UTF-8";

class Converter {
  public:
    Converter(const char* to, const char* from) : handle_(::iconv_open(to, from)) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (known())
            ::iconv_close(handle_);
    }

    bool known() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

    // Converts up to the end or to what cannot be converted, and leaves `text` there. In a code page with shift states
    // the result ends in the first state.
    void advance(std::string_view& text, std::string& result) {
        if (!known())
            return;
        char* input = const_cast<char*>(text.data());  // iconv's prototype; it does not write there
        std::size_t left = text.size();
        while (left > 0 && step(&input, &left, result)) {
        }
        text.remove_prefix(text.size() - left);
        step(nullptr, nullptr, result);
    }

  private:
    bool step(char** input, std::size_t* left, std::string& result) {
        char buffer[512];
        char* output = buffer;
        std::size_t room = sizeof buffer;
        const std::size_t outcome = ::iconv(handle_, input, left, &output, &room);
        const bool may_go_on = outcome != static_cast<std::size_t>(-1) || errno == E2BIG;
        result.append(buffer, sizeof buffer - room);
        return may_go_on;
    }

    iconv_t handle_;
};

// `unit` is the size of what is skipped, and answered by one `replacement`, where the input makes no sense.
std::string convert(Converter& converter, std::string_view text, std::size_t unit, std::string_view replacement) {
    std::string result;
    converter.advance(text, result);
    while (!text.empty()) {
        result += replacement;
        text.remove_prefix(unit);
        converter.advance(text, result);
    }
    return result;
}

bool is_utf8(uint32_t code_page) {
    return code_page == kCodePageAnsi || code_page == kCodePageUtf8;
}

// What the world calls the code pages whose numbers iconv does not know; empty for the others.
std::string usual_name(uint32_t code_page) {
    constexpr uint32_t iso_8859 = 28590;
    if (code_page > iso_8859 && code_page <= iso_8859 + 16)
        return "ISO-8859-" + std::to_string(code_page - iso_8859);
    switch (code_page) {
        case 20127:
            return "ASCII";
        case 20866:
            return "KOI8-R";
        case 21866:
            return "KOI8-U";
        case 51932:
            return "EUC-JP";
        case 51949:
            return "EUC-KR";
        case 54936:
            return "GB18030";
        default:
            return {};
    }
}

// The name that iconv knows the code page by; UTF-8 when it knows none.
std::string encoding_name(uint32_t code_page) {
    if (is_utf8(code_page))
        return kUtf8;
    for (const std::string& name :
         {usual_name(code_page), "CP" + std::to_string(code_page), "WINDOWS-" + std::to_string(code_page)}) {
        if (!name.empty() && Converter(kWide, name.c_str()).known() && Converter(name.c_str(), kWide).known())
            return name;
    }
    return kUtf8;
}

}  // namespace

std::wstring widen(std::string_view text, uint32_t code_page) {
    Converter converter(kWide, encoding_name(code_page).c_str());
    const wchar_t replacement = L'\xFFFD';
    const std::string_view replacement_bytes(reinterpret_cast<const char*>(&replacement), sizeof replacement);
    const std::string bytes = convert(converter, text, 1, replacement_bytes);
    std::wstring wide(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(wide.data(), bytes.data(), bytes.size());
    return wide;
}

std::string narrow(std::wstring_view text, uint32_t code_page) {
    const std::string encoding = encoding_name(code_page);
    Converter converter(encoding.c_str(), kWide);
    const std::string_view bytes(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
    return convert(converter, bytes, sizeof(wchar_t), encoding == kUtf8 ? "\xEF\xBF\xBD" : "?");
}

}  // namespace qmio::platform
