// Message texts. Numbers 19400 to 19499 not listed by themselves are an
// access layer call that failed with status (number - 19400); numbers 10661
// to 10689 are date/time conversion errors 1 to 29.
#include "catalog/message_catalog.h"

#include <algorithm>
#include <array>

namespace buhost {
namespace {

constexpr std::array kCatalog = std::to_array<CatalogEntry>({
    {19003, false, "%s%s"},
    {19004, false, "%s%s%s"},
    {19005, false, "%s %s"},
    {19006, false, "%s, version %s"},
    {19009, true, "instance %d runs without a private log"},
    {19010, true, "instance %d writes its private log to '%s'"},
    {19011, true, "instance %d starts in restart mode"},
    {19014, true, "text too long in %s: %d bytes needed, %d allowed"},
    {19015, true, "exit code raised to %d"},
    {19100, true, "call to %s failed with status %d"},
    {19102, true, "record %d: %s is wrong: expected %d, received %d"},
    {19105, true, "the operator needs exactly one schema"},
    {19106, true, "the schema has an unusable column count %d"},
    {19107, true, "fixed record length %d exceeds the buffer size %d"},
    {19108, true, "format %s accepts only these column types: %s"},
    {19109, true, "column count %d of the row differs from the schema's %d (record %d)"},
    {19110, true,
     "column %d '%s' is longer than the schema allows (%d, row gives %d) in record %d"},
    {19111, true, "record %d has too little data for all its columns"},
    {19112, true, "record %d, column %d '%s': variable length exceeds %d (received %d)"},
    {19113, true, "the schema needs %d bytes per row, the row has %d"},
    {19115, false, "%s was called before the operator was initiated"},
    {19116, true, "the operator is already in use"},
    {19128, true, "attributes '%s' and '%s' exclude each other; give only one"},
    {19129, true, "record errors of instance %d are missing: '%s' could not be opened"},
    {19130, true, "record errors of instance %d may be incomplete; '%s' was kept"},
    {19131, true, "instance %d: temporary file '%s' could not be removed"},
    {19132, true, "the merge of record errors into '%s' had errors"},
    {19133, true, "byte, graphic and LOB columns cannot be written as delimited text"},
    {19135, true, "buffer size %d may be too small for rows needing %d bytes"},
    {19136, true, "buffer size %d is too small for rows needing %d bytes"},
    {19137, true, "file name '%s' (%d bytes) does not fit metadata column '%s' (%d of %d)"},
    {19138, true, "job stopped at the record error limit: %d rows, %d errors"},
    {19140, true, "out of memory: %s bytes could not be allocated"},
    {19148, true, "termination phase %s is not valid"},
    {19151, true, "a LOB column's data length is not valid"},
    {19152, true, "buffer length field of %s bytes cannot hold row length %s"},
    {19153, true, "buffer row header of %s bytes is smaller than its length field of %s bytes"},
    {19154, true, "conversion from UTF8 to UTF16 failed"},
    {19155, true, "the file name is too long"},
    {19156, true, "buffer row length %s exceeds the largest allowed, %s"},
    {19157, true, "buffer row length %s was expected, the row has %s"},
    {19158, true, "%s columns ended with the %s character"},
    {19159, true, "%s: a trailing '%s' is written as data in %s format"},
    {19160, true, "this delimited parsing case is not supported"},
    {19170, true, "buffers for delimited data could not be made"},
    {19185, true, "status %d while reading attribute '%s'"},
    {19201, true, "required attribute '%s' is missing"},
    {19202, true, "attribute '%s' has length %d, expected %d"},
    {19203, true, "attribute '%s' not given; using '%s'"},
    {19204, true, "attribute '%s' has value %s; it must be %d or %d"},
    {19205, true, "attribute '%s' has the invalid value '%s'; valid: %s"},
    {19206, true, "attribute '%s' adjusted to '%s'"},
    {19208, true, "attribute '%s' cannot be used with format %s"},
    {19224, true, "attribute '%s' is out of range; the largest value is %d"},
    {19229, true, "%d rows were written to the record error file '%s'"},
    {19230, true, "attribute '%s' is not accepted by a consumer"},
    {19231, true, "file '%s' does not exist"},
    {19234, true, "attribute '%s' is not supported here"},
    {19243, true, "attribute '%s' has a default outside its values"},
    {19244, true, "attribute %s ('%s') needs %s to be '%s' or '%s'"},
    {19245, true, "attribute '%s' needs a valid UTF8 character"},
    {19246, true, "attribute '%s' is not valid for this kind of instance"},
    {19247, true, "attribute '%s' needs attribute '%s'"},
    {19248, true, "attribute '%s': the value is limited to 1 byte"},
    {19249, true, "attribute '%s' is not valid with character set '%s'"},
    {19250, true, "attribute '%s' disagrees with the data"},
    {19251, true, "attribute '%s' value '%s' cannot append to a .zip file"},
    {19301, true, "access layer initialisation failed"},
    {19302, true, "attaching the access layer failed"},
    {19303, true, "passing an attribute to the access module failed"},
    {19304, true, "opening the file failed"},
    {19305, true, "reading the file failed"},
    {19306, true, "writing the file failed"},
    {19307, true, "taking the file position failed"},
    {19308, true, "repositioning the file failed"},
    {19309, true, "closing the file failed"},
    {19310, true, "detaching the access layer failed"},
    {19311, true, "shutting the access layer down failed"},
    {19465, true, "data cannot be processed with an unsupported character set"},
    {19468, true, "named pipe timeout exceeded; the job stops"},
    {19469, true, "record %d does not fit a buffer of %d bytes"},
    {19470, true, "record %d does not fit a buffer of %d bytes (inside quotes)"},
    {19471, true, "record of %d bytes does not fit a buffer of %d bytes"},
    {19473, true, "record %d needs %d bytes; the buffer holds %d"},
    {19475, true, "storage of %d bytes for the schema is not available"},
    {19476, true, "metadata column %d '%s' repeats at column %d '%s' (%s)"},
    {19477, true, "metadata column %d '%s' must be of type %s"},
    {19501, true, "OUTMOD could not be loaded: %s: %s"},
    {19502, true, "OUTMOD entry point not found: %s: %s"},
    {19503, true, "OUTMOD call failed with return code %d"},
    {19504, true, "the operator runs only as a consumer"},
    {19505, true, "OUTMOD record of %d bytes exceeds the limit of %d"},
    {19506, true, "OUTMOD asked for a record to be written but no FileName was given"},
});

constexpr bool sortedByNumber() {
    for (size_t i = 1; i < kCatalog.size(); ++i)
        if (kCatalog[i - 1].number >= kCatalog[i].number) return false;
    return true;
}
static_assert(sortedByNumber(), "catalogue is sorted for lookup");

constexpr CatalogEntry kAccessLayerFailure{19400, true,
                                           "%s failed with access layer status %d: %s"};
// A failed close at the end comes without the layer's text.
constexpr CatalogEntry kAccessLayerFailureBare{19400, true,
                                               "%s failed with access layer status %d"};
constexpr CatalogEntry kDateTimeError{10660, true, "date/time conversion error"};

// "NAME[n]:" or "NAME[n]: QLNddddd", the two shapes of a message leader.
bool looksLikeLeader(const LogArg& a) {
    if (a.tag != PX_TAG_TEXT) return false;
    const std::string& t = a.text;
    auto open = t.rfind('[');
    if (open == std::string::npos || open == 0) return false;
    size_t i = open + 1;
    const size_t digitsFrom = i;
    while (i < t.size() && t[i] >= '0' && t[i] <= '9') ++i;
    if (i == digitsFrom || t.compare(i, 2, "]:") != 0) return false;
    std::string_view rest(t.c_str() + i + 2, t.size() - i - 2);
    if (rest.empty()) return true;
    if (rest.size() != 9 || rest.substr(0, 4) != " QLN") return false;
    return std::all_of(rest.begin() + 4, rest.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string argText(const LogArg& a) {
    return a.tag == PX_TAG_TEXT ? a.text : std::to_string(a.integer);
}

std::string fill(std::string_view text, const std::vector<LogArg>& args, size_t first) {
    std::string out;
    size_t next = first;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%' || i + 1 >= text.size()) {
            out.push_back(text[i]);
            continue;
        }
        char conv = text[++i];
        if (conv == '%') {
            out.push_back('%');
            continue;
        }
        out += next < args.size() ? argText(args[next]) : std::string("<missing>");
        ++next;
    }
    for (; next < args.size(); ++next) out += " [" + argText(args[next]) + "]";
    return out;
}

}  // namespace

const CatalogEntry* findCatalogEntry(int32_t number) {
    auto it = std::lower_bound(kCatalog.begin(), kCatalog.end(), number,
                               [](const CatalogEntry& e, int32_t n) { return e.number < n; });
    if (it != kCatalog.end() && it->number == number) return &*it;
    if (number >= 19400 && number <= 19499) return &kAccessLayerFailure;
    if (number >= 10661 && number <= 10689) return &kDateTimeError;
    return nullptr;
}

std::string renderMessage(int32_t number, const std::vector<LogArg>& args) {
    const CatalogEntry* e = findCatalogEntry(number);
    if (e == &kAccessLayerFailure && args.size() < 4) e = &kAccessLayerFailureBare;
    if (e == nullptr) {
        std::string out = "message " + std::to_string(number);
        for (size_t i = 0; i < args.size(); ++i) out += (i == 0 ? ": " : ", ") + argText(args[i]);
        return out;
    }
    // A message listed without leader may still be sent with one: its shape
    // tells.
    const bool leaderFirst = e->hasLeader || (!args.empty() && looksLikeLeader(args[0]));
    if (!leaderFirst) return fill(e->text, args, 0);
    std::string leader = !args.empty() && args[0].tag == PX_TAG_TEXT ? args[0].text : "";
    std::string body = fill(e->text, args, 1);
    if (e == &kDateTimeError) body += " " + std::to_string(number - 10660);
    return leader.empty() ? body : leader + " " + body;
}

}  // namespace buhost
