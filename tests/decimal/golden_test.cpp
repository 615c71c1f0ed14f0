// LD_ and NU_ values against golden/values.txt. Each line runs a few steps on
// a value and names what must come out:
//     ld "-1.5" ; down 1 => int=-2 cur=0
// Steps stop at the first non-zero result, which is then `rc`; without
// `rc=` the line expects every step to succeed. Only the fields a line names
// are compared.
#include <gtest/gtest.h>

#include <charconv>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "decimal_test_support.h"

namespace {

using bu::test::Value;
using Fields = std::map<std::string, std::string>;

// Words of a step; a word in double quotes may hold blanks or be empty.
std::vector<std::string> Words(const std::string& step) {
    std::vector<std::string> words;
    for (size_t at = 0; at < step.size();) {
        if (step[at] == ' ') {
            ++at;
        } else if (step[at] == '"') {
            const size_t end = step.find('"', at + 1);
            words.push_back(step.substr(at + 1, end - at - 1));
            at = end + 1;
        } else {
            const size_t end = std::min(step.find(' ', at), step.size());
            words.push_back(step.substr(at, end - at));
            at = end;
        }
    }
    return words;
}

class Runner {
  public:
    // Runs the steps; returns the fields of the outcome.
    Fields Run(const std::string& steps) {
        Fields got{{"rc", "0"}};
        std::istringstream in(steps);
        for (std::string step; std::getline(in, step, ';');) {
            const int rc = Step(Words(step));
            if (rc != 0) {
                got["rc"] = std::to_string(rc);
                if (!out_.empty()) got["out"] = out_;
                return got;
            }
        }
        BN_BigNumber* v = v_.get();
        char text[256];
        got["int"] = LD_ExportValueToString(v, text, sizeof text) == 0 ? text : "?";
        got["cur"] = std::to_string(v->CurScale);
        got["digits"] = std::to_string(v->Digits);
        got["exp"] = std::to_string(v->Exponent);
        got["prec"] = std::to_string(v->Precision);
        got["scale"] = std::to_string(v->Scale);
        got["kind"] = v->Kind == BN_KIND_LARGE_DECIMAL  ? "ld"
                      : v->Kind == BN_KIND_FIXED_NUMBER ? "fixed"
                                                        : "floating";
        if (!out_.empty()) got["out"] = out_;
        return got;
    }

  private:
    static std::string Sign(int c) { return c < 0 ? "-1" : c > 0 ? "1" : "0"; }

    // Bytes from hexadecimal digits, zeros behind them up to a whole column.
    static std::vector<unsigned char> Column(const std::string& hex) {
        std::vector<unsigned char> bytes(NU_COLUMN_MAX_BYTES);
        for (size_t i = 0; i + 1 < hex.size(); i += 2) {
            bytes.at(i / 2) = static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        }
        return bytes;
    }
    static std::string Hex(const unsigned char* bytes, int size) {
        static const char digits[] = "0123456789abcdef";
        std::string s;
        for (int i = 0; i < size; ++i) {
            s.push_back(digits[bytes[i] >> 4]);
            s.push_back(digits[bytes[i] & 15]);
        }
        return s;
    }

    int Step(const std::vector<std::string>& w) {
        auto n = [&](size_t i) { return std::stoi(w.at(i)); };
        auto d = [&](size_t i) { return std::stod(w.at(i)); };
        const std::string& verb = w.at(0);
        BN_BigNumber* v = v_.get();
        if (verb == "ld") return LD_SetValueFromString(v, w.at(1).c_str());
        if (verb == "ldvalid") return LD_SetValueFromValidString(v, w.at(1).c_str());
        if (verb == "lddigits") return LD_SetValueFromDigitString(v, w.at(1).c_str(), n(2), n(3));
        if (verb == "ldint64")
            return LD_SetValueFromInteger64(v, std::stoll(w.at(1)), n(2), n(3), n(4));
        if (verb == "ldfloat") return LD_SetValueFromFloat(v, n(1), n(2), d(3));
        if (verb == "ldinit") return LD_Initialize(v, n(1), n(2));
        if (verb == "nuinit") return NU_Initialize(v, n(1), n(2));
        if (verb == "nu") return NU_SetValueFromString(v, w.at(1).c_str());
        if (verb == "nudigits")
            return NU_SetValueFromDigitString(v, w.at(1).c_str(), n(2), n(3), n(4));
        if (verb == "nufloat") return NU_SetValueFromFloat(v, n(1), n(2), d(3));
        if (verb == "up") return LD_ScaleUp(v, n(1));
        if (verb == "down") return LD_ScaleDown(v, n(1));
        if (verb == "range") return LD_RangeCheck(v, n(1), n(2));
        if (verb == "nurange") return NU_RangeCheck(v, n(1), n(2));
        // Columns as the database lays them out, in hexadecimal: a NUMBER
        // column read at a precision and scale, or its mantissa's digits and
        // exponent (into a text of n bytes); a value written to either
        // column; a 16-byte DECIMAL column negated or rescaled in place.
        if (verb == "nucol") return NU_SetValueFromDBSColumn(v, Column(w.at(1)).data(), n(2), n(3));
        if (verb == "ldcol") return LD_SetValueFromDBSColumn(v, Column(w.at(1)).data(), n(2), n(3));
        if (verb == "mantissa") {
            std::vector<char> text(static_cast<size_t>(w.size() > 2 ? n(2) : 100), '\0');
            int exponent = 0;
            const int rc = NU_ExportMantissaToString(v, Column(w.at(1)).data(), text.data(),
                                                     static_cast<int>(text.size()), &exponent);
            if (rc == 0) out_ = std::string(text.data()) + "e" + std::to_string(exponent);
            return rc;
        }
        if (verb == "tonucol" || verb == "toldcol") {
            std::vector<unsigned char> column(NU_COLUMN_MAX_BYTES);
            int size = verb == "toldcol" ? n(1) : 0;
            const int rc = verb == "toldcol" ? LD_ExportValueToDBSColumn(v, column.data(), size)
                                             : NU_ExportValueToDBSColumn(v, column.data(), &size);
            if (rc == 0) out_ = Hex(column.data(), size);
            return rc;
        }
        if (verb == "negcol" || verb == "rescalecol") {
            std::vector<unsigned char> column = Column(w.at(1));
            const int rc = verb == "negcol" ? LD_NegateDBSColumnValue(column.data())
                                            : LD_RescaleDBSColumn(column.data(), n(2));
            out_ = Hex(column.data(), 16);
            return rc;
        }
        if (verb == "cmpzero") return out_ = Sign(LD_CompareToZero(v)), 0;
        if (verb == "cmpone") return out_ = Sign(LD_CompareToOne(v)), 0;
        if (verb == "toint64") {
            int64_t x = 0;
            const int rc = LD_ExportValueToInteger64(v, &x, n(1));
            out_ = std::to_string(x);
            return rc;
        }
        if (verb == "tofloat") {
            double x = 0;
            const int rc = v->Kind == BN_KIND_LARGE_DECIMAL ? LD_ExportValueToFloat(v, &x)
                                                            : NU_ExportValueToFloat(v, &x);
            char text[64];
            *std::to_chars(text, text + sizeof text - 1, x).ptr = '\0';
            out_ = text;
            return rc;
        }
        if (verb == "tostring" || verb == "nutostring") {
            std::vector<char> text(static_cast<size_t>(n(1)) + 1, '\0');
            int exponent = 0;
            const int rc = verb == "tostring"
                               ? LD_ExportValueToString(v, text.data(), n(1))
                               : NU_ExportValueToString(v, text.data(), n(1), &exponent);
            out_ = std::string(text.data()) +
                   (verb == "tostring" ? "" : "e" + std::to_string(exponent));
            return rc;
        }
        // The rest give a result, which becomes the value; most take a second
        // value, given as text of the value's family.
        BN_BigNumber* b = b_.get();
        BN_BigNumber* r = r_.get();
        if (verb == "neg") return Keep(LD_Negate(v, r));
        const bool number = verb.rfind("nu", 0) == 0;
        int rc = number ? NU_SetValueFromString(b, w.at(1).c_str())
                        : LD_SetValueFromString(b, w.at(1).c_str());
        if (rc != 0) return rc;
        if (verb == "cmp") return out_ = Sign(LD_Compare(v, b)), 0;
        if (verb == "add") return Keep(LD_Add(v, b, r));
        if (verb == "sub") return Keep(LD_Subtract(v, b, r));
        if (verb == "mul") return Keep(LD_Multiply(v, b, r));
        if (verb == "div") return Keep(LD_Divide(v, b, r, n(2)));
        if (verb == "combine") return Keep(LD_Combine(v, b, r, n(2), n(3)));
        if (verb == "numul") return Keep(NU_Multiply(v, b, r, n(2)));
        if (verb == "nudiv") return Keep(NU_Divide(v, b, r, n(2)));
        ADD_FAILURE() << "unknown step " << verb;
        return -1;
    }

    int Keep(int rc) { return rc != 0 ? rc : LD_Copy(v_.get(), r_.get()); }

    Value v_, b_, r_;
    std::string out_;
};

TEST(DecimalGolden, ValuesComeOutAsListed) {
    std::ifstream in(std::string(BU_SOURCE_DIR) + "/tests/decimal/golden/values.txt");
    ASSERT_TRUE(in.is_open());
    int number = 0;
    int cases = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.empty() || line[0] == '#') continue;
        const size_t arrow = line.find(" => ");
        ASSERT_NE(arrow, std::string::npos) << "values.txt:" << number;
        Fields want{{"rc", "0"}};
        for (const std::string& field : Words(line.substr(arrow + 4))) {
            const size_t eq = field.find('=');
            want[field.substr(0, eq)] = field.substr(eq + 1);
        }
        const Fields got = Runner().Run(line.substr(0, arrow));
        std::string wanted, shown;
        for (const auto& [key, value] : want) {
            wanted += key + "=" + value + " ";
            shown += key + "=" + (got.count(key) ? got.at(key) : "(none)") + " ";
        }
        EXPECT_EQ(shown, wanted) << "values.txt:" << number << ": " << line;
        ++cases;
    }
    EXPECT_GT(cases, 100);
}

}  // namespace
