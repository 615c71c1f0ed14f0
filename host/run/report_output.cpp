#include "run/report_output.h"

namespace buhost {

std::string jsonEscape(const std::string& text) {
    std::string out;
    for (unsigned char ch : text) {
        switch (ch) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (ch < 0x20) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", ch);
                    out += buf;
                } else {
                    out.push_back(static_cast<char>(ch));
                }
        }
    }
    return out;
}

void printReport(std::FILE* out, const JobReport& report) {
    for (const auto& r : report.instances) {
        std::fprintf(out, "instance %d: rows %llu, checkpoints %llu, exit code %d%s%s\n",
                     r.instance, static_cast<unsigned long long>(r.rows),
                     static_cast<unsigned long long>(r.checkpoints), r.exitCode,
                     r.failure.empty() ? "" : ": ", r.failure.c_str());
    }
    std::fprintf(out, "job '%s': %llu rows in %.2f s, exit code %d\n", report.job.c_str(),
                 static_cast<unsigned long long>(report.rows), report.seconds, report.exitCode);
    std::fprintf(out, "logs in %s, public log %s\n", report.logDir.c_str(),
                 report.publicLog.c_str());
}

bool printPublicLog(std::FILE* out, const JobReport& report) {
    std::FILE* in = std::fopen(report.publicLog.c_str(), "rb");
    if (in == nullptr) return false;
    if (std::fseek(in, static_cast<long>(report.publicLogOffset), SEEK_SET) != 0) {
        std::fclose(in);
        return false;
    }
    std::fprintf(out, "--- %s (this run)\n", report.publicLog.c_str());
    char chunk[4096];
    size_t n = 0;
    while ((n = std::fread(chunk, 1, sizeof chunk, in)) > 0) std::fwrite(chunk, 1, n, out);
    std::fclose(in);
    return true;
}

void printReportJson(std::FILE* out, const JobReport& report) {
    std::fprintf(out,
                 "{\"job\":\"%s\",\"exit_code\":%d,\"rows\":%llu,\"seconds\":%.3f,"
                 "\"public_log\":\"%s\",\"instances\":[",
                 jsonEscape(report.job).c_str(), report.exitCode,
                 static_cast<unsigned long long>(report.rows), report.seconds,
                 jsonEscape(report.publicLog).c_str());
    for (size_t i = 0; i < report.instances.size(); ++i) {
        const auto& r = report.instances[i];
        std::fprintf(out,
                     "%s{\"instance\":%d,\"rows\":%llu,\"checkpoints\":%llu,\"exit_code\":%d,"
                     "\"max_row_size_kb\":%u,\"failure\":\"%s\"}",
                     i ? "," : "", r.instance, static_cast<unsigned long long>(r.rows),
                     static_cast<unsigned long long>(r.checkpoints), r.exitCode, r.maxRowSizeKB,
                     jsonEscape(r.failure).c_str());
    }
    std::fprintf(out, "]}\n");
}

}  // namespace buhost
