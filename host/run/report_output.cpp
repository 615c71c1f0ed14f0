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
}

void printReportJson(std::FILE* out, const JobReport& report) {
    std::fprintf(out,
                 "{\"job\":\"%s\",\"exit_code\":%d,\"rows\":%llu,\"seconds\":%.3f,\"instances\":[",
                 jsonEscape(report.job).c_str(), report.exitCode,
                 static_cast<unsigned long long>(report.rows), report.seconds);
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
