// Fuzz target: random pictures, encoded formats and values through the
// encoder, the conversion in both widths, and the printer at random limits.
// Buffers have their exact documented sizes, so the sanitizers see any
// write past them.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "datetime_errors.h"
#include "datetime_parser.h"
#include "datetime_printer.h"
#include "px_datetime.h"

namespace {

using namespace bu::datetime;

// Input layout: a mode byte, a limit byte, then three texts separated by
// newlines: the input picture (or format), the output one, and the value.
struct Case {
    bool raw_formats = false;
    size_t limit = 0;
    std::string in;
    std::string out;
    std::string value;
};

Case Split(const uint8_t* data, size_t size) {
    Case c;
    if (size < 2) return c;
    c.raw_formats = (data[0] & 1) != 0;
    c.limit = data[1];
    std::string* parts[] = {&c.in, &c.out, &c.value};
    size_t part = 0;
    for (size_t i = 2; i < size; ++i) {
        const char ch = static_cast<char>(data[i]);
        if (ch == '\n' && part < 2) {
            ++part;
        } else if (ch != '\0') {
            parts[part]->push_back(ch);
        }
    }
    return c;
}

std::vector<char> Terminated(const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.push_back('\0');
    return bytes;
}

bool Encode(const Case& c, std::vector<char>* enc_in, std::vector<char>* enc_out) {
    if (c.raw_formats) {
        *enc_in = Terminated(c.in);
        *enc_out = Terminated(c.out);
        return true;
    }
    std::vector<char> in = Terminated(c.in);
    std::vector<char> out = Terminated(c.out);
    enc_in->assign(c.in.size() + 3, '\0');
    enc_out->assign(c.out.size() + 3, '\0');
    uint32_t code = 0;
    return PX_EncodeFormatStrings(in.data(), out.data(), enc_in->data(), enc_out->data(), &code) ==
           0;
}

void ConvertUtf16(std::vector<char>& enc_in, std::vector<char>& enc_out, const std::string& value,
                  int32_t byte_order) {
    std::vector<char> units;
    for (char ch : value) {
        units.push_back(byte_order == PX_DATETIME_LITTLE_ENDIAN ? ch : '\x01');
        units.push_back(byte_order == PX_DATETIME_LITTLE_ENDIAN ? '\x02' : ch);
    }
    std::vector<char> output(PX_DATETIME_OUTPUT_SIZE_UTF16);
    uint32_t bytes = 0;
    uint32_t code = 0;
    PX_ConvertDateTime_utf16(enc_in.data(), enc_out.data(), units.data(),
                             static_cast<uint32_t>(units.size()), output.data(), &bytes, byte_order,
                             &code);
    if (bytes > output.size()) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ClearLastError();
    const Case c = Split(data, size);
    std::vector<char> enc_in, enc_out;
    if (!Encode(c, &enc_in, &enc_out)) return 0;

    std::vector<char> value = Terminated(c.value);
    std::vector<char> output(PX_DATETIME_OUTPUT_SIZE);
    uint32_t code = 0;
    PX_ConvertDateTime(enc_in.data(), enc_out.data(), value.data(), output.data(), &code);
    if (code > static_cast<uint32_t>(kLastErrorCode)) __builtin_trap();

    ConvertUtf16(enc_in, enc_out, c.value, PX_DATETIME_LITTLE_ENDIAN);
    ConvertUtf16(enc_in, enc_out, c.value, 1);

    // Whatever the parser left in the record, printed within a random limit.
    DateTimeRec rec;
    _strptime(c.value.c_str(), enc_in.data(), &rec);
    std::vector<char> limited(c.limit);
    const size_t count = _strftime(limited.data(), limited.size(), enc_out.data(), rec);
    if (c.limit > 0 && count >= c.limit) __builtin_trap();
    return 0;
}
