#include "support/frames.h"

#include <cstdio>

std::string frame(std::string_view body)
{
    unsigned sum = 0;
    for (const char byte : body)
        sum += static_cast<unsigned char>(byte);
    char checksum[3];
    std::snprintf(checksum, sizeof checksum, "%02X", (0x100 - (sum & 0xFF)) & 0xFF);
    return "\x01" + std::string(body) + checksum + "\x04";
}

std::string body(std::string_view mnemonic, const std::vector<std::string>& parameters, char seq)
{
    std::string text = "N";
    text += seq;
    text += mnemonic;
    for (const std::string& parameter : parameters)
        text += "\t" + parameter;
    return text;
}

std::string readable_request(const std::string& framed)
{
    const std::string inside = framed.substr(1, framed.size() - 2);
    if (framed[0] != '\x01' || inside.size() < 6 ||
        frame(inside.substr(0, inside.size() - 2)) != framed || inside.substr(0, 2) != "N0")
        return "bad frame";
    std::string text = inside.substr(2, inside.size() - 4);
    for (char& character : text)
        if (character == '\t') character = ' ';
    return text;
}
