// Answer.cpp: decoding the helper's output and exit status.
#include "client/Answer.h"

#include <limits>

#include "protocol/Answer.h"

namespace xvtui::client {

const Field* Answer::Find(std::string_view key) const
{
    for (const Field& field : fields) {
        if (field.key == key)
            return &field;
    }
    return nullptr;
}

std::optional<bool> Answer::Flag(std::string_view key) const
{
    const Field* field = Find(key);
    if (field == nullptr)
        return std::nullopt;
    if (field->value.view() == protocol::kTrue)
        return true;
    if (field->value.view() == protocol::kFalse)
        return false;
    return std::nullopt;
}

std::optional<std::uint32_t> ParseRetText(std::string_view output)
{
    constexpr std::string_view prefix = protocol::kRetPrefix;
    if (!output.starts_with(prefix))
        return std::nullopt;
    const std::string_view digits = output.substr(prefix.size());
    if (digits.empty() || digits.size() > 10)
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + static_cast<std::uint64_t>(c - '0');
    }
    if (value > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return static_cast<std::uint32_t>(value);
}

Decoder KeyDecoder(std::vector<AnswerKey> keys)
{
    return [keys = std::move(keys)](std::string_view output, std::vector<Field>& fields,
                                    std::string& problem) {
        fields.clear();
        size_t pos = 0;
        for (size_t i = 0; i < keys.size(); ++i) {
            const AnswerKey& expected = keys[i];
            if (output.substr(pos, expected.key.size()) != expected.key) {
                problem = "expected the key " + expected.key;
                return false;
            }
            pos += expected.key.size();
            const bool last = i + 1 == keys.size();
            size_t end = output.size();
            if (expected.kind == ValueKind::Flag) {
                const std::string_view rest = output.substr(pos);
                end = pos + (rest.starts_with(protocol::kTrue)    ? protocol::kTrue.size()
                             : rest.starts_with(protocol::kFalse) ? protocol::kFalse.size()
                                                                  : 0);
                if (end == pos) {
                    problem = expected.key + " is not followed by true or false";
                    return false;
                }
                if (last && end != output.size()) {
                    problem = "unexpected text after " + expected.key;
                    return false;
                }
            } else if (!last) {
                end = output.find(keys[i + 1].key, pos);
                if (end == std::string_view::npos) {
                    problem = "expected the key " + keys[i + 1].key;
                    return false;
                }
            }
            Field field;
            field.key = expected.key;
            field.value.assign(output.substr(pos, end - pos));
            field.secret = expected.kind == ValueKind::Secret;
            fields.push_back(std::move(field));
            pos = end;
        }
        if (pos != output.size()) {
            problem = "unexpected text after the answer";
            return false;
        }
        return true;
    };
}

Answer Decode(const RunResult& run, const Decoder& decoder)
{
    Answer answer;
    answer.exited = run.exited;
    answer.exitStatus = run.exitStatus;
    answer.termSignal = run.termSignal;
    const std::string_view output = run.output.view();

    if (run.timedOut) {
        answer.outcome = Outcome::TimedOut;
        answer.problem = "no answer before the deadline";
        return answer;
    }
    if (!run.exited) {
        answer.outcome = Outcome::Killed;
        answer.problem = "killed by signal " + std::to_string(run.termSignal);
        return answer;
    }
    if (run.outputTruncated) {
        answer.problem = "the answer is longer than the limit";
        return answer;
    }
    if (const auto code = ParseRetText(output)) {
        answer.outcome = Outcome::Refused;
        answer.code = *code;
        if (static_cast<int>(*code & 0xFF) != run.exitStatus)
            answer.problem = "exit status " + std::to_string(run.exitStatus) +
                             " does not match the code";
        return answer;
    }
    if (output == kUsageText && run.exitStatus == 1) {
        answer.outcome = Outcome::Usage;
        return answer;
    }
    if (run.exitStatus != 0) {
        answer.problem = "exit status " + std::to_string(run.exitStatus) + " without a ret= text";
        return answer;
    }
    if (!decoder) {
        answer.problem = "no decoder for this request";
        return answer;
    }
    std::string problem;
    if (!decoder(output, answer.fields, problem)) {
        answer.fields.clear();
        answer.problem = problem.empty() ? "not an answer of this request" : problem;
        return answer;
    }
    answer.outcome = Outcome::Answered;
    answer.code = ResultCode::Answered;
    return answer;
}

} // namespace xvtui::client
