#include "core/process/why.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/process/thread_record.h"
#include "ffmpeg/ffmpeg.h"
#include "platform/system.h"
#include "qmio.h"
#include "qmlib/sinks.h"

namespace qmio::why {

namespace {

constexpr std::size_t kLongestText = 1280;

// The calls of a thread that has none are not the host's.
ThreadRecord* record_of_call() {
    ThreadRecord* const record = existing_thread_record();
    return record != nullptr && record->calls > 0 ? record : nullptr;
}

struct Formatted {
    const char* c_str() const { return text; }

    char text[kLongestText];
};

// A text that is longer is cut, at a whole character.
Formatted formatted(const char* format, va_list arguments) {
    Formatted result;
    const int length = std::vsnprintf(result.text, sizeof result.text, format, arguments);
    const auto written = static_cast<std::size_t>(std::max(length, 0));
    // The last character may be there in part; what is before three bytes from the end is not in doubt.
    const std::size_t kept = written < sizeof result.text
                                 ? written
                                 : fitting_length({result.text, sizeof result.text - 1}, sizeof result.text - 4);
    result.text[kept] = '\0';
    return result;
}

// The C library's own words where it has them in the one language that is UTF-8 in every locale.
void append_meaning(int code, ThreadRecord& record) {
    if (const char* const system = platform::error_text(AVUNERROR(code)); system != nullptr)
        return record.text.append(system);
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    record.text.append(text);
}

void start_anew(ThreadRecord& record) {
    record.code = 0;
    record.text.clear();
    record.heard.clear();
    record.remarks.clear();
}

void tell_failure(ThreadRecord& record) {
    record.told_code = record.code;
    record.told.clear();
    record.told.append(record.text.view());
    if (!record.heard.empty()) {
        record.told.append(" (");
        record.told.append(record.heard.view());
        record.told.append(")");
    }
    if (!record.remarks.empty())
        record.told.append("; ");
    record.told.append(record.remarks.view());
    record.told.shorten(qmlib::hide_credentials);
}

// A failure that was not asked about yet is worth more than what is none.
void tell_remarks(ThreadRecord& record) {
    if (record.told_code != 0 || record.remarks.empty())
        return;
    record.told.clear();
    record.told.append(record.remarks.view());
    record.told.shorten(qmlib::hide_credentials);
}

void add_remark(ThreadRecord& record, std::string_view text) {
    if (!record.remarks.empty())
        record.remarks.append("; ");
    record.remarks.append(text);
}

}  // namespace

void failed(int code) noexcept {
    ThreadRecord* const record = record_of_call();
    if (record == nullptr || record->code != 0)
        return;
    record->code = code < 0 ? code : AVERROR_UNKNOWN;
    record->text.clear();
    append_meaning(record->code, *record);
}

void failed(int code, const char* format, ...) noexcept {
    if (has_failed())
        return;
    va_list arguments;
    va_start(arguments, format);
    const Formatted text = formatted(format, arguments);
    va_end(arguments);
    failed(code);
    within("%s", text.c_str());
}

void within(const char* format, ...) noexcept {
    ThreadRecord* const record = record_of_call();
    if (record == nullptr || record->code == 0)
        return;
    va_list arguments;
    va_start(arguments, format);
    const Formatted text = formatted(format, arguments);
    va_end(arguments);
    record->text.prepend(": ");
    record->text.prepend(text.c_str());
}

void remark(const char* format, ...) noexcept {
    ThreadRecord* const record = record_of_call();
    if (record == nullptr)
        return;
    va_list arguments;
    va_start(arguments, format);
    const Formatted text = formatted(format, arguments);
    va_end(arguments);
    add_remark(*record, text.c_str());
}

void forgive() noexcept {
    ThreadRecord* const record = record_of_call();
    if (record == nullptr || record->code == 0)
        return;
    add_remark(*record, record->text.view());
    record->code = 0;
    record->text.clear();
    record->heard.clear();
}

bool has_failed() noexcept {
    const ThreadRecord* const record = record_of_call();
    return record != nullptr && record->code != 0;
}

void heard(const char* message) noexcept {
    ThreadRecord* const record = record_of_call();
    if (record == nullptr || record->code != 0)
        return;
    const std::string_view text(message, std::strcspn(message, "\r\n"));
    if (text.empty())
        return;
    record->heard.clear();
    record->heard.append(text);
}

Call::Call() noexcept : record_(thread_record()) {
    if (record_ != nullptr && record_->calls++ == 0)
        start_anew(*record_);
}

Call::~Call() {
    if (record_ != nullptr)
        --record_->calls;
}

void Call::end(bool is_failure) noexcept {
    if (record_ == nullptr || record_->calls != 1)
        return;
    if (is_failure && record_->code != 0)
        tell_failure(*record_);
    else
        tell_remarks(*record_);
}

int take(char* buf, int size) noexcept {
    ThreadRecord* const record = existing_thread_record();
    const std::string_view told = record != nullptr ? record->told.view() : "";
    copy_text(told, buf, size);
    if (record == nullptr)
        return 0;
    record->told.clear();
    const int code = record->told_code;
    record->told_code = 0;
    return code;
}

}  // namespace qmio::why

int qmio_why(char* buf, int size) {
    return qmio::why::take(buf, size);
}
