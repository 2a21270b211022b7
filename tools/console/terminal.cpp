#include "console/terminal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cwchar>
#include <histedit.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "console/completion.h"
#include "tools/common/text_table.h"
#include "tools/common/text_width.h"

namespace console {

namespace {
constexpr int HISTORY_LENGTH = 500;
constexpr wchar_t KILL_LINE_KEY = 0x15; // Ctrl-U
char prompt[] = "router> ";

// The editor's callbacks get nothing but the editor, so what they need stands here.
console_session* served = nullptr;
EditLine* editor = nullptr;
int signals = -1;     // a signalfd
bool editing = false; // a line is on the screen
bool stopped = false; // by a signal

std::size_t screen_width()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return size.ws_col;
}

// Wipes the prompt and the line, which may reach over several rows, off the screen.
void erase_line()
{
    const LineInfo* const line = el_line(editor);
    const std::string_view before_cursor(line->buffer,
                                         static_cast<std::size_t>(line->cursor - line->buffer));
    const std::size_t row =
        (sizeof prompt - 1 + common::display_width(before_cursor)) / screen_width();
    if (row > 0) std::printf("\033[%zuA", row);
    std::fputs("\r\033[J", stdout);
}

void print_above_line(const std::string& text)
{
    if (editing) erase_line();
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
    if (editing) el_set(editor, EL_REFRESH);
}

char* show_prompt(EditLine* /*line*/)
{
    return prompt;
}

// SIGINT stands for the key that empties the line. Returns whether there is a key.
bool handle_signal(wchar_t& key)
{
    signalfd_siginfo info{};
    if (read(signals, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return false;
    if (info.ssi_signo != SIGINT) {
        stopped = true;
        return false;
    }
    const LineInfo* const line = el_line(editor);
    if (line->lastchar == line->buffer)
        print_above_line("\"quit\" or Ctrl-D leaves the console.\n");
    key = KILL_LINE_KEY;
    return true;
}

enum class key_state { none_yet, complete, input_ended };

// One byte more of a character, whose bytes so far are in the conversion.
key_state read_key(std::mbstate_t& conversion, wchar_t& key)
{
    char byte = 0;
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return key_state::none_yet;
    if (count <= 0) return key_state::input_ended;
    const std::size_t length = std::mbrtowc(&key, &byte, 1, &conversion);
    if (length == static_cast<std::size_t>(-2)) return key_state::none_yet;
    if (length == static_cast<std::size_t>(-1)) {
        conversion = {};
        key = L'?';
    }
    return key_state::complete;
}

// The editor's source of keys, which serves the backend until there is one. Returns 1 with a key,
// 0 when no more will come.
int next_key(EditLine* /*line*/, wchar_t* key)
{
    std::mbstate_t conversion{};
    key_state state = key_state::none_yet;
    editing = true;
    while (state == key_state::none_yet && !stopped && !served->link.ended) {
        std::array<pollfd, 2> watched = {{{signals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        wait_session(*served, watched, NO_TIME_LIMIT);
        if (watched[0].revents != 0 && handle_signal(*key))
            state = key_state::complete;
        else if (watched[1].revents != 0)
            state = read_key(conversion, *key);
    }
    return state == key_state::complete ? 1 : 0;
}

unsigned char complete_word(EditLine* line, int /*key*/)
{
    const LineInfo* const typed = el_line(line);
    const std::string before(typed->buffer, typed->cursor);
    const completion completed = complete(served->state.view, before);
    const std::string old_word = before.substr(completed.start);
    if (completed.choices.empty()) return CC_REFRESH_BEEP;
    if (completed.replacement == old_word) {
        print_above_line(common::list_text(completed.choices, screen_width()));
        return CC_NORM;
    }
    el_deletestr(line, static_cast<int>(common::character_count(old_word)));
    el_insertstr(line, completed.replacement.c_str());
    return CC_REFRESH;
}

void catch_signals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    signals = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

void set_up_editor(History* lines)
{
    HistEvent event;
    history(lines, &event, H_SETSIZE, HISTORY_LENGTH);
    history(lines, &event, H_SETUNIQUE, 1);
    el_set(editor, EL_PROMPT, show_prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 1);
    el_set(editor, EL_HIST, history, lines);
    el_set(editor, EL_GETCFN, next_key);
    // The narrow form would copy the texts and never free them.
    el_wset(editor, EL_ADDFN, L"complete-word", L"completes the word", complete_word);
    el_set(editor, EL_BIND, "^I", "complete-word", nullptr);
}

void run_lines(console_session& session, History* lines)
{
    while (!session.quit && !session.link.ended && !stopped) {
        int length = 0;
        const char* const line = el_gets(editor, &length);
        editing = false;
        if (line == nullptr || length <= 0) {
            std::fputs("\n", stdout);
            return;
        }
        const std::string text(line, static_cast<std::size_t>(length));
        HistEvent event;
        if (text.find_first_not_of(" \n") != std::string::npos)
            history(lines, &event, H_ENTER, text.c_str());
        run_line(session, std::string_view(text).substr(0, text.find('\n')));
    }
}
} // namespace

void run_terminal(console_session& session)
{
    catch_signals();
    served = &session;
    session.print = print_above_line;
    session.print("\"help\" lists the commands.\n");
    editor = el_init("router_console", stdin, stdout, stderr);
    History* const lines = history_init();
    set_up_editor(lines);
    run_lines(session, lines);
    history_end(lines);
    el_end(editor);
    editor = nullptr;
}

} // namespace console
