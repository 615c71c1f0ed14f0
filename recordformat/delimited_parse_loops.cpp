// The parser's loops: the shape of each, the parsing cases each serves,
// and the dispatch from a case to its loop. A case no loop serves (a
// trimming digit of 3 and above, a two-byte delimiter with one-byte quote
// marks, 2222222) runs the general machine.
#include <array>

#include "delimited_parse_machine.h"

namespace bu::rf {
namespace {

using parse::Form;
using parse::Rule;
using parse::Shape;
using parse::Walk;

constexpr Form kNo = Form::None;
constexpr Form kOne = Form::OneByte;
constexpr Form kStr = Form::String;
constexpr Walk kBytes = Walk::Byte;
constexpr Walk kChars = Walk::Character;

// Index 0 is the general machine; 1 to 22 the loops, with the cases each
// serves (x: 1 or 2; e, t: 1 or 2 for an escape and trimming; OCQ: open,
// close and quote escape marks, one of 002, 112, 12., 21., 22.).
constexpr std::array<Shape, 23> kShapes = {{
    // walk    delimiter escape quotes trim
    {kChars, kStr, kStr, kStr, kStr},                       // general: every case below not served
    {kBytes, kOne, kNo, kNo, kNo, Rule::StopAtLastColumn},  // 1: 1100000
    {kBytes, kOne, kNo, kNo, kOne},                         // 2: 1100001
    {kBytes, kStr, kNo, kNo, kStr},                         // 3: 1100002 1200001 1200002
    {kBytes, kStr, kNo, kNo, kNo, Rule::StopAtLastColumn},  // 4: 1200000
    {kBytes, kOne, kOne, kNo, kNo},                         // 5: 1110000
    {kBytes, kOne, kOne, kNo, kOne},                        // 6: 1110001
    {kBytes, kStr, kStr, kNo, kStr},  // 7: 1110002 1120002 12x000y (x, y 1 or 2)
    {kBytes, kStr, kStr, kNo, kNo},   // 8: 1210000 1220000
    {kBytes, kOne, kNo, kOne, kNo, Rule::WalkLastDelimiterAgain},  // 9: 1100010 1101100 1101110
    {kBytes, kOne, kNo, kOne, kOne},                               // 10: 1100011 1101101 1101111
    {kBytes, kOne, kOne, kOne, kNo},                               // 11: 1110010 1111100 1111110
    {kBytes, kOne, kOne, kOne, kOne},                              // 12: 1110011 1111101 1111111
    {kBytes, kStr, kNo, kStr, kNo},                                // 13: 1x0OCQ0
    {kBytes, kStr, kNo, kStr, kStr},                               // 14: 13 trimmed
    {kBytes, kStr, kStr, kStr, kNo},                               // 15: 13 with an escape
    {kBytes, kStr, kStr, kStr, kStr},                              // 16: 15 trimmed
    {kChars, kStr, kNo, kNo, kNo, Rule::None, true},               // 17: 2x00000
    {kChars, kStr, kNo, kNo, kStr},                                // 18: 2x0000t
    {kChars, kStr, kStr, kNo, kNo},                                // 19: 2xe0000
    {kChars, kStr, kStr, kNo, kStr},                               // 20: 2xe000t
    {kChars, kStr, kNo, kStr, kNo},                                // 21: 2x0OCQ0, O and C 1 or 2
    {kChars, kStr, kStr, kStr, kNo},                               // 22: 21 with an escape
}};

using Loop = ParseResult (*)(const ParseSettings&, const ParseColumns&, const ParseWork&, uint8_t*,
                             uint32_t) noexcept;

template <size_t N>
ParseResult runLoop(const ParseSettings& settings, const ParseColumns& columns,
                    const ParseWork& work, uint8_t* record, uint32_t length) noexcept {
    return parse::Machine<kShapes[N]>(settings, columns, work, record, length).run();
}

template <size_t... N>
constexpr std::array<Loop, sizeof...(N)> makeLoops(std::index_sequence<N...>) {
    return {&runLoop<N>...};
}

constexpr auto kLoops = makeLoops(std::make_index_sequence<kShapes.size()>());

// The digits of a case, from millions to units: character set, delimiter,
// delimiter escape, open mark, close mark, quote escape, trimming.
struct Digits {
    int32_t m, d, e, o, c, q, t;
};

bool digitsOf(int32_t parsingCase, Digits& x) {
    if (parsingCase < 1000000 || parsingCase > 2999999) return false;
    x = {parsingCase / 1000000,   parsingCase / 100000 % 10, parsingCase / 10000 % 10,
         parsingCase / 1000 % 10, parsingCase / 100 % 10,    parsingCase / 10 % 10,
         parsingCase % 10};
    return x.d >= 1 && x.d <= 2 && x.e <= 2 && x.o <= 2 && x.c <= 2 && x.q <= 2;
}

int32_t singleByteLoop(const Digits& x) {
    if (x.t > 2) return 0;
    if (x.o == 0 && x.c == 0 && x.q == 0) {
        if (x.e == 0) {
            if (x.d == 1) return 1 + x.t;  // 1, 2, 3
            return x.t == 0 ? 4 : 3;
        }
        if (x.d == 1 && x.e == 1) return 5 + x.t;  // 5, 6, 7
        if (x.d == 1) return x.t == 2 ? 7 : 0;
        return x.t == 0 ? 8 : 7;
    }
    const bool oneByteQuotes =
        (x.o == 0 && x.c == 0 && x.q == 1) || (x.o == 1 && x.c == 1 && x.q <= 1);
    if (oneByteQuotes) {
        if (x.d != 1 || x.e == 2 || x.t == 2) return 0;
        return 9 + (x.e == 1 ? 2 : 0) + x.t;  // 9 to 12
    }
    const bool stringQuotes = (x.o == 0 && x.c == 0 && x.q == 2) ||
                              (x.o == 1 && x.c == 1 && x.q == 2) ||
                              (x.o >= 1 && x.c >= 1 && (x.o == 2 || x.c == 2));
    if (!stringQuotes) return 0;
    return 13 + (x.e != 0 ? 2 : 0) + (x.t != 0 ? 1 : 0);  // 13 to 16
}

int32_t multiByteLoop(const Digits& x) {
    if (x.t > 2) return 0;
    if (x.o == 0 && x.c == 0 && x.q == 0) {
        return 17 + (x.e != 0 ? 2 : 0) + (x.t != 0 ? 1 : 0);  // 17 to 20
    }
    if (x.o >= 1 && x.c >= 1 && x.t == 0) return x.e == 0 ? 21 : 22;
    return 0;
}

}  // namespace

int32_t loopOfCase(int32_t parsingCase) noexcept {
    Digits x{};
    if (!digitsOf(parsingCase, x)) return 0;
    return x.m == 1 ? singleByteLoop(x) : multiByteLoop(x);
}

ParseResult parseDelimitedRecord(int32_t parsingCase, const ParseSettings& settings,
                                 const ParseColumns& columns, const ParseWork& work,
                                 uint8_t* record, uint32_t length) noexcept {
    return kLoops[static_cast<size_t>(loopOfCase(parsingCase))](settings, columns, work, record,
                                                                length);
}

}  // namespace bu::rf
