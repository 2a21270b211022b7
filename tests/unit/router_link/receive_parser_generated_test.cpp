// The parser against every cut of known frames, and against generated input compared with the
// model.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "router_link/receive_parser.h"
#include "support/backend_test.h"
#include "support/message_fields.h"
#include "support/parser_model.h"

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
    Messages read_messages()
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
        return {read_messages(), diagnostics()};
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
            EXPECT_EQ(read_messages(), Messages{});
            parse_router_bytes(VALID_FRAMES[3]);
            EXPECT_EQ(read_messages().size(), 1U);
        }
}

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

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

// The stream in reads of these lengths, used in turn; of one byte each where there are none.
std::vector<std::string> reads_of(const std::string& bytes, const std::vector<std::size_t>& lengths)
{
    std::vector<std::string> reads;
    std::size_t begin = 0;
    for (std::size_t i = 0; begin < bytes.size(); ++i) {
        reads.push_back(bytes.substr(begin, lengths.empty() ? 1 : lengths[i % lengths.size()]));
        begin += reads.back().size();
    }
    return reads;
}
} // namespace

RC_GTEST_FIXTURE_PROP(ParsedStream, AgreesWithTheModelForAnyChunking, ())
{
    const std::string bytes = *stream();
    const auto lengths =
        *rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(1, 40));
    for (const auto& reads : {std::vector{bytes}, reads_of(bytes, lengths)}) {
        reset_receive_parser();
        parser_model model;
        for (const std::string& read : reads)
            read_into_model(model, read, fake_now_us);
        const outcome real = parsed(reads);
        RC_ASSERT(real.messages == all_fields(model.messages));
        RC_ASSERT(real.log == joined(model.log));
    }
}

RC_GTEST_FIXTURE_PROP(ParsedStream, GivesTheSameMessagesForAnyChunking, ())
{
    const std::string bytes = *stream();
    const auto lengths =
        *rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(1, 40));
    const Messages whole = parsed({bytes}).messages;
    reset_receive_parser();
    RC_ASSERT(parsed(reads_of(bytes, lengths)).messages == whole);
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
    RC_ASSERT(read_messages() == Messages{fields(message)});
}
