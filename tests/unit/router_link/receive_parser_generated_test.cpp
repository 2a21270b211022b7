// The parser against every cut of known frames, and against generated input compared with a model
// that looks at the whole stream at once.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "router_link/receive_parser.h"
#include "support/backend_test.h"
#include "support/message_fields.h"

using namespace std::string_literals;

using Messages = std::vector<message_fields>;

namespace {
struct outcome {
    Messages messages;
    std::string log;
    bool operator==(const outcome&) const = default;
};

class ParsedStream : public BackendTest {
  protected:
    Messages take_messages()
    {
        Messages messages = all_fields(router_rx_queue);
        router_rx_queue.clear();
        return messages;
    }

    // What becomes of these reads.
    outcome parsed(const std::vector<std::string>& reads)
    {
        for (const std::string& bytes : reads)
            parse_router_bytes(bytes);
        return {take_messages(), diagnostics()};
    }
};

const std::vector<std::string> VALID_FRAMES = {
    "\x06"s,
    "\x15\x04"s,
    "\x15"s + "1A2B\x04",
    "\x01N0QDED\x04"s,
    "\x01N0QD\ta\t\tb0F\x04"s,
    "\x01N0QD\tE4\x04"s,
    "\x01"s + "00\x04",
    "\x01"s + "ABF\x04",
    "\x01N0ER\t057D\x04"s,
    "\x01N0EREB\x04"s,
    "\x01N0QD\t\x01\x06\x15"s + "C8\x04",
};
} // namespace

TEST_F(ParsedStream, GivesTheSameMessageHoweverAFrameIsCut)
{
    for (const std::string& bytes : VALID_FRAMES) {
        const outcome whole = parsed({bytes});
        ASSERT_EQ(whole.messages.size(), 1U);
        for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
            EXPECT_EQ(parsed({bytes.substr(0, cut), bytes.substr(cut)}), whole);
    }
}

TEST_F(ParsedStream, GivesTheSameMessageByteByByte)
{
    for (const std::string& bytes : VALID_FRAMES) {
        std::vector<std::string> pieces;
        for (const char byte : bytes)
            pieces.emplace_back(1, byte);
        EXPECT_EQ(parsed(pieces), parsed({bytes}));
    }
}

TEST_F(ParsedStream, ForgetsEveryPrefixOfAFrameAtAReset)
{
    for (const std::string& bytes : VALID_FRAMES)
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            parse_router_bytes(bytes.substr(0, length));
            reset_receive_parser();
            EXPECT_EQ(take_messages(), Messages{});
            parse_router_bytes(VALID_FRAMES[3]);
            EXPECT_EQ(take_messages().size(), 1U);
        }
}

// ---- the model ----

namespace {
const std::string HEXADECIMAL_DIGITS = "0123456789ABCDEF0123456789abcdef";

unsigned model_digit(char digit)
{
    const std::size_t position = HEXADECIMAL_DIGITS.find(digit);
    return position == std::string::npos ? 0 : static_cast<unsigned>(position % 16);
}

std::int32_t model_code(const std::string& text)
{
    std::uint32_t code = 0;
    for (const char digit : text.substr(0, text.find_first_not_of(HEXADECIMAL_DIGITS)))
        code = code << 4 | model_digit(digit);
    return static_cast<std::int32_t>(code);
}

std::string two_digits(unsigned value)
{
    return {HEXADECIMAL_DIGITS[16 + value / 16], HEXADECIMAL_DIGITS[16 + value % 16]};
}

std::vector<std::string> model_parameters(const std::string& body)
{
    std::vector<std::string> parameters;
    std::size_t tab = body.size() < 4 ? std::string::npos : body.find('\t', 4);
    if (tab == std::string::npos) return {};
    std::string rest = body.substr(tab + 1);
    if (rest.empty()) return {};
    if (rest.back() != '\t') rest += '\t';
    while ((tab = rest.find('\t')) != std::string::npos) {
        parameters.push_back(rest.substr(0, tab));
        rest.erase(0, tab + 1);
    }
    return parameters;
}

void model_frame(const std::string& raw, outcome& result)
{
    result.log += "<DBG>Router: MSG " + raw + "\n";
    if (raw.size() < 2) {
        result.log += "<DBG>Message rejected, no checksum field\n";
        return;
    }
    const std::string body = raw.substr(0, raw.size() - 2);
    unsigned got = 0;
    for (const char byte : body)
        got = (got + 256 - static_cast<unsigned char>(byte)) % 256;
    const unsigned want = model_digit(raw[body.size()]) * 16 + model_digit(raw[body.size() + 1]);
    if (want != got) {
        result.log += "<DBG>Message rejected, invalid checksum (want=" + two_digits(want) +
                      " got=" + two_digits(got) + ")\n";
        return;
    }
    const std::string header = (raw + "\0\0"s).substr(0, 4);
    const std::vector<std::string> parameters = model_parameters(body);
    const bool error_reply = header.substr(2) == "ER";
    const std::int32_t code = error_reply && !parameters.empty() ? model_code(parameters[0]) : -1;
    const bool error = error_reply && code != 0;
    result.messages.emplace_back(header[0], header[1], std::array<char, 3>{header[2], header[3], 0},
                                 parameters, !error, false, false, error, code, raw);
}

// Cuts the stream at the first end, NUL or 4097th byte behind each start byte.
outcome model(std::string bytes)
{
    constexpr std::size_t LIMIT = 4096;
    const std::string shown = bytes.substr(0, bytes.find('\0'));
    outcome result;
    while (!bytes.empty()) {
        const char start = bytes[0];
        bytes.erase(0, 1);
        if (start == '\x06') {
            result.log += "<DBG>Router: ACK\n";
            result.messages.emplace_back('\0', '0', std::array<char, 3>{},
                                         std::vector<std::string>{}, true, true, false, false, -1,
                                         "");
        } else if (start != '\x01' && start != '\x15') {
            result.log += "Discarding unexpected byte " +
                          two_digits(static_cast<unsigned char>(start)) + "\n";
        } else {
            const std::size_t end = bytes.find_first_of("\x04\0"s);
            if (std::min(end, bytes.size()) > LIMIT) {
                result.log += "<WARN>Over-long rambling response from router switcher\n";
                bytes.erase(0, LIMIT + 1);
                continue;
            }
            if (end == std::string::npos) break;
            const std::string raw = bytes.substr(0, end);
            if (bytes[end] == '\0') {
                result.log += "<DBG>Unexpected NUL in response from router switcher, "
                              "ignoring response\n<DBG>Response: " +
                              shown + "\n";
                const std::size_t skipped = bytes.find('\x04', end);
                bytes.erase(0, skipped == std::string::npos ? skipped : skipped + 1);
                continue;
            }
            bytes.erase(0, end + 1);
            if (start == '\x01') {
                model_frame(raw, result);
            } else {
                result.log += "<DBG>Router: NAK " + raw + "\n";
                result.messages.emplace_back('\0', '0', std::array<char, 3>{},
                                             std::vector<std::string>{}, false, false, true, false,
                                             model_code(raw), raw);
            }
        }
    }
    return result;
}
} // namespace

// ---- generated input ----

namespace {
rc::Gen<std::string> text_of(const std::string& alphabet)
{
    return rc::gen::container<std::string>(rc::gen::elementOf(alphabet));
}

const std::string FRAME_ALPHABET = "N0QDER\t\t\t05aF\x01\x06\x15\xFFz"s;

rc::Gen<std::string> framed(const char* prefix)
{
    return rc::gen::map(text_of(FRAME_ALPHABET),
                        [prefix](const std::string& text) { return frame(prefix + text); });
}

rc::Gen<std::string> long_frame()
{
    return rc::gen::map(rc::gen::inRange<std::size_t>(4089, 4094), [](std::size_t length) {
        return frame("N0QD\t" + std::string(length, 'x'));
    });
}

// Pieces of a stream: noise rich in control bytes, whole frames, frames about as long as allowed.
rc::Gen<std::string> stream()
{
    const auto noise = text_of("\x01\x01\x04\x04\x06\x15\t\0N0QDER0123aF\xFFz"s);
    const auto piece = rc::gen::weightedOneOf<std::string>({{6, noise},
                                                            {3, framed("N0QD")},
                                                            {3, framed("N0ER\t")},
                                                            {3, framed("")},
                                                            {1, long_frame()}});
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece),
                        [](const std::vector<std::string>& pieces) {
                            std::string bytes;
                            for (const std::string& one : pieces)
                                bytes += one;
                            return bytes;
                        });
}

// What follows "Response: " depends on the reads alone.
std::string without_responses(const std::string& log)
{
    std::string kept;
    const std::string response = "<DBG>Response: ";
    std::size_t begin = 0;
    for (std::size_t at = log.find(response); at != std::string::npos;
         at = log.find(response, begin)) {
        kept += log.substr(begin, at - begin);
        begin = log.find('\n', at) + 1;
    }
    return kept + log.substr(begin);
}
} // namespace

RC_GTEST_FIXTURE_PROP(ParsedStream, AgreesWithTheModel, ())
{
    const std::string bytes = *stream();
    parse_router_bytes(bytes);
    const outcome expected = model(bytes);
    RC_ASSERT(take_messages() == expected.messages);
    RC_ASSERT(diagnostics() == expected.log);
}

RC_GTEST_FIXTURE_PROP(ParsedStream, GivesTheSameForAnyChunking, ())
{
    const std::string bytes = *stream();
    const auto lengths =
        *rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(1, 40));
    parse_router_bytes(bytes);
    const Messages whole = take_messages();
    const std::string log = without_responses(diagnostics());
    reset_receive_parser();
    std::size_t begin = 0;
    for (std::size_t i = 0; begin < bytes.size(); ++i) {
        const std::size_t length = lengths.empty() ? 1 : lengths[i % lengths.size()];
        parse_router_bytes(std::string_view(bytes).substr(begin, length));
        begin += length;
    }
    RC_ASSERT(take_messages() == whole);
    RC_ASSERT(without_responses(diagnostics()) == log);
}

RC_GTEST_FIXTURE_PROP(ParsedStream, GivesBackWhatWasEncoded, ())
{
    const rc::Gen<std::string> text = text_of("abcXYZ019 ,\x01\x06\x15\x7F\x80\xFF");
    router_message message = make_request("NQ");
    message.seq = *rc::gen::elementOf("0123"s);
    message.parameters = *rc::gen::scale(0.3, rc::gen::container<std::vector<std::string>>(text));
    // A separator directly before the checksum would stand for no parameter.
    if (!message.parameters.empty()) message.parameters.back() += 'x';
    std::string bytes;
    RC_PRE(encode_router_message(message, bytes));
    parse_router_bytes(bytes);
    message.ok = true;
    message.raw = bytes.substr(1, bytes.size() - 2);
    RC_ASSERT(take_messages() == Messages{fields(message)});
}
