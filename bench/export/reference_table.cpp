#include "reference_table.h"

#include <cstring>

namespace bench {

const char* const kReferenceSchema =
    "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
    "[[schema]]\nname = \"customer\"\ntype = \"VARCHAR\"\nlength = 40\nnullable = true\n"
    "[[schema]]\nname = \"amount\"\ntype = \"DECIMAL\"\nprecision = 12\nscale = 2\n"
    "[[schema]]\nname = \"quantity\"\ntype = \"SMALLINT\"\n"
    "[[schema]]\nname = \"sold_on\"\ntype = \"INTDATE\"\n"
    "[[schema]]\nname = \"code\"\ntype = \"CHAR\"\nlength = 8\n"
    "[[schema]]\nname = \"big\"\ntype = \"BIGINT\"\n"
    "[[schema]]\nname = \"ratio\"\ntype = \"FLOAT\"\nnullable = true\n";

namespace {

constexpr uint8_t kCustomerNull = 0x40;  // the NULL bits, high bit first
constexpr uint8_t kRatioNull = 0x01;

// splitmix64: a small generator, the same on every machine.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t next() {
        uint64_t x = state_ += 0x9e3779b97f4a7c15ull;
        x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
        x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
        return x ^ (x >> 31);
    }
    uint64_t below(uint64_t n) { return next() % n; }
    bool percent(uint64_t p) { return below(100) < p; }

  private:
    uint64_t state_;
};

template <typename T>
void put(std::vector<uint8_t>& out, T value) {
    uint8_t bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    out.insert(out.end(), bytes, bytes + sizeof value);
}

// A name-like text: words of lower-case letters, the first capitalised; a few
// hold the delimiter or a double quote, as real data does.
void makeCustomer(Random& r, char* text, uint16_t& length) {
    length = static_cast<uint16_t>(5 + r.below(36));
    uint64_t wordLeft = 3 + r.below(7);
    for (uint16_t i = 0; i < length; ++i) {
        if (wordLeft-- == 0 && i + 1 < length) {
            text[i] = ' ';
            wordLeft = 3 + r.below(7);
        } else {
            text[i] = static_cast<char>('a' + r.below(26));
        }
    }
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
    if (r.percent(3)) text[r.below(length)] = '|';
    if (r.percent(2)) text[r.below(length)] = '"';
}

double makeRatio(Random& r) {
    // Half are short (a price-like value), half carry all the digits a
    // computed value has.
    double v = r.percent(50) ? static_cast<double>(r.below(1000000)) / 100.0
                             : static_cast<double>(r.next() >> 11) / 9007199254740992.0 * 1000.0;
    return r.percent(10) ? -v : v;
}

void appendRow(Random& r, uint64_t index, std::vector<uint8_t>& out) {
    const size_t lengthAt = out.size();
    put<uint32_t>(out, 0);
    const size_t start = out.size();
    const bool customerNull = r.percent(10);
    const bool ratioNull = r.percent(10);
    out.push_back(
        static_cast<uint8_t>((customerNull ? kCustomerNull : 0) | (ratioNull ? kRatioNull : 0)));
    put<int32_t>(out, static_cast<int32_t>(index + 1));
    char customer[40];
    uint16_t customerLength = 0;
    if (!customerNull) makeCustomer(r, customer, customerLength);
    put<uint16_t>(out, customerLength);
    out.insert(out.end(), customer, customer + customerLength);
    int64_t cents = static_cast<int64_t>(r.below(100000000));
    if (r.percent(10)) cents -= cents % 100;  // whole amounts
    put<int64_t>(out, r.percent(5) ? -cents : cents);
    put<int16_t>(
        out, static_cast<int16_t>(r.percent(2) ? -int64_t(r.below(50)) : int64_t(r.below(1000))));
    const int32_t year = 2000 + static_cast<int32_t>(r.below(30));
    const int32_t month = 1 + static_cast<int32_t>(r.below(12));
    const int32_t day = 1 + static_cast<int32_t>(r.below(28));
    put<int32_t>(out, (year - 1900) * 10000 + month * 100 + day);
    char code[8];
    const uint64_t codeLength = r.percent(20) ? 4 + r.below(4) : 8;
    for (uint64_t i = 0; i < 8; ++i)
        code[i] = i < codeLength ? "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"[r.below(36)] : ' ';
    out.insert(out.end(), code, code + 8);
    const int64_t big = static_cast<int64_t>(r.next() >> (1 + r.below(40)));
    put<int64_t>(out, r.percent(10) ? -big : big);
    put<double>(out, ratioNull ? 0.0 : makeRatio(r));
    const uint32_t length = static_cast<uint32_t>(out.size() - start);
    std::memcpy(out.data() + lengthAt, &length, 4);
}

template <typename T>
T get(const uint8_t*& at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    at += sizeof value;
    return value;
}

}  // namespace

ReferenceRows makeReferenceRows(uint64_t count, uint64_t seed) {
    ReferenceRows rows;
    rows.bytes.reserve(count * 72);
    Random r(seed);
    for (uint64_t i = 0; i < count; ++i) appendRow(r, i, rows.bytes);
    rows.count = count;
    return rows;
}

ReferenceRow decodeReferenceRow(const uint8_t* row) {
    ReferenceRow v;
    const uint8_t nulls = row[0];
    const uint8_t* at = row + kIndicatorBytes;
    v.id = get<int32_t>(at);
    const uint16_t customerLength = get<uint16_t>(at);
    v.customerIsNull = (nulls & kCustomerNull) != 0;
    v.customer = {reinterpret_cast<const char*>(at), customerLength};
    at += customerLength;
    v.amountCents = get<int64_t>(at);
    v.quantity = get<int16_t>(at);
    v.soldOn = get<int32_t>(at);
    v.code = {reinterpret_cast<const char*>(at), 8};
    at += 8;
    v.big = get<int64_t>(at);
    v.ratioIsNull = (nulls & kRatioNull) != 0;
    v.ratio = get<double>(at);
    return v;
}

}  // namespace bench
