// Shell commands that say what a backend would: for scripts that take a backend's place.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

inline std::string octal(std::string_view text)
{
    std::string quoted;
    for (const char byte : text) {
        char digits[5];
        std::snprintf(digits, sizeof digits, "\\%03o", static_cast<unsigned char>(byte));
        quoted += digits;
    }
    return quoted;
}

// Commands that say it in one write.
inline std::string says(std::string_view line)
{
    return "printf '" + octal(line) + "\\n' >&2\n";
}
inline std::string reports(const std::string& record)
{
    return "printf '" + octal(record) + "\\n\\n'\n";
}

// A connection to a router with the sources CAM 1 and CAM 2, the destinations MON A and MON B.
inline std::string becomes_ready()
{
    return says("<NOTE>Connection sucessful.") + says("<DBG>Inputs range from 1-2") +
           says("<DBG>Outputs range from 1-2") +
           says("<DBG>Router finished returning levels, sources, destinations") +
           reports("*COMMAND=info\n*TYPE=message\ninputs=16\nmodel=TX4\noutputs=16") +
           reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=0\no1.input.all=0") +
           reports("*COMMAND=inputs\n*TYPE=message\ni0.name=CAM 1\ni1.name=CAM 2") +
           reports("*COMMAND=outputs\n*TYPE=message\no0.name=MON A\no1.name=MON B");
}

// Until the desk's batch has come.
inline const std::string WAITS_FOR_FLUSH =
    "while read line; do [ \"$line\" = queue=flush ] && break; done\n";
inline const std::string LISTENS = "exec cat >\"$2.heard\"\n";
// Until nobody reads what it says.
inline const std::string IS_DEAF = "while echo; do sleep 1; done\n";
