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

namespace {

double perSecond(double amount, double seconds) {
    return seconds > 0 ? amount / seconds : 0;
}
double rowsPerSecond(const InstanceReport& r) {
    return perSecond(static_cast<double>(r.timedRows), r.seconds);
}
// Megabytes of 10^6 bytes, as throughput is usually told.
double megabytesPerSecond(const InstanceReport& r) {
    return perSecond(static_cast<double>(r.timedBytes) / 1e6, r.seconds);
}

}  // namespace

void printReport(std::FILE* out, const JobReport& report) {
    for (const auto& r : report.instances) {
        char pace[96] = "";
        if (r.seconds > 0)
            std::snprintf(pace, sizeof pace, " at %.0f rows/s, %.1f MB/s", rowsPerSecond(r),
                          megabytesPerSecond(r));
        std::fprintf(out, "instance %d: rows %llu%s, checkpoints %llu, exit code %d%s%s\n",
                     r.instance, static_cast<unsigned long long>(r.rows), pace,
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
        std::fprintf(
            out,
            "%s{\"instance\":%d,\"rows\":%llu,\"checkpoints\":%llu,\"exit_code\":%d,"
            "\"max_row_size_kb\":%u,\"seconds\":%.6f,\"row_bytes\":%llu,"
            "\"rows_per_s\":%.0f,\"mb_per_s\":%.3f,\"rss_anon_kb\":%llu,\"failure\":\"%s\"}",
            i ? "," : "", r.instance, static_cast<unsigned long long>(r.rows),
            static_cast<unsigned long long>(r.checkpoints), r.exitCode, r.maxRowSizeKB, r.seconds,
            static_cast<unsigned long long>(r.timedBytes), rowsPerSecond(r), megabytesPerSecond(r),
            static_cast<unsigned long long>(r.anonKB), jsonEscape(r.failure).c_str());
    }
    std::fprintf(out, "]}\n");
}

}  // namespace buhost
