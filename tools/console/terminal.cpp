#include "console/terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cwchar>
#include <histedit.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include "console/completion.h"
#include "console/line_history.h"
#include "console/pager.h"
#include "console/safe_text.h"
#include "console/screen_rows.h"
#include "server/desk/words.h"
#include "tools/common/text_table.h"
#include "tools/common/text_width.h"

namespace console {

namespace {
constexpr wchar_t KILL_LINE_KEY = 0x15;      // Ctrl-U
constexpr std::size_t TEXT_HELD = 1'048'576; // bytes; what comes beyond it is left out
constexpr std::string_view MORE_HAPPENED = "More has happened: \"history\" tells it.\n";

struct terminal {
    console_session& session;
    EditLine* editor = nullptr;
    std::string prompt = {};             // as it is on the screen
    bool editing = false;                // a line is on the screen
    bool paging = false;                 // a list is; what happens is told behind it
    std::string held = {};               // what has happened while it was
    std::vector<std::string> lines = {}; // that were typed
    std::optional<char> unread = {};     // a byte of a key that was typed for the next line
};

screen_size size_of_screen()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return {};
    return {size.ws_row, size.ws_col};
}

void write_out(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

std::string wanted_prompt(const console_state& console)
{
    const desk::live_router& live = *desk::find_live(console.desk, console.router);
    const std::string& name = desk::find_router(console.desk, console.router)->settings.name;
    return safe_text(name) + " " + desk::text_of(live.link) + "> ";
}

// Wipes the prompt and the line, which may reach over several rows, off the screen.
void erase_line(const terminal& terminal)
{
    const LineInfo* const line = el_line(terminal.editor);
    const std::string before_cursor = terminal.prompt + std::string(line->buffer, line->cursor);
    const screen_size screen = size_of_screen();
    const std::size_t row = std::min(cursor_row(before_cursor, screen.columns), screen.rows - 1);
    if (row > 0) std::printf("\033[%zuA", row);
    write_out("\r\033[J");
}

void draw_line(const terminal& terminal)
{
    el_set(terminal.editor, EL_REFRESH);
}

void print_above_line(terminal& terminal, const std::string& text)
{
    if (terminal.paging) {
        if (terminal.held.size() > TEXT_HELD) return;
        terminal.held += text;
        if (terminal.held.size() > TEXT_HELD) terminal.held += MORE_HAPPENED;
        return;
    }
    if (terminal.editing) erase_line(terminal);
    write_out(text);
    if (terminal.editing) draw_line(terminal);
}

terminal& terminal_of(EditLine* editor)
{
    void* found = nullptr;
    el_get(editor, EL_CLIENTDATA, &found);
    return *static_cast<terminal*>(found);
}

char* show_prompt(EditLine* editor)
{
    terminal& terminal = terminal_of(editor);
    terminal.prompt = wanted_prompt(terminal.session.console);
    return terminal.prompt.data();
}

// Stops the program as the keyboard would have done.
void stop_here()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTSTP);
    kill(getpid(), SIGTSTP);
    sigprocmask(SIG_UNBLOCK, &set, nullptr); // here it stops
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

// What a signal asks of whoever waits for a key. Those that end the session stay in it.
enum class request { none, interrupt, stop, redraw, resize, leave };

request take_request(console_session& session)
{
    const int signal = session.signal;
    if (signal == SIGTERM || signal == SIGHUP || signal == SIGQUIT) return request::leave;
    session.signal = 0;
    if (signal == SIGINT) return request::interrupt;
    if (signal == SIGTSTP) return request::stop;
    if (signal == SIGCONT) return request::redraw;
    return signal == SIGWINCH ? request::resize : request::none;
}

// Gives each key to the program at once, and shows none, as long as it lives.
struct key_mode {
    termios before{};

    key_mode()
    {
        tcgetattr(STDIN_FILENO, &before);
        set();
    }
    key_mode(const key_mode&) = delete;
    key_mode& operator=(const key_mode&) = delete;
    ~key_mode()
    {
        restore();
    }

    void set() const
    {
        termios keys = before;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        keys.c_cc[VMIN] = 1;
        keys.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSADRAIN, &keys);
    }
    void restore() const
    {
        tcsetattr(STDIN_FILENO, TCSADRAIN, &before);
    }
};

// The next key as a byte, serving the session meanwhile; none when no more is to be shown. The last
// row is drawn again when another program has had the terminal.
std::optional<char> wait_for_key(console_session& session, const key_mode& keys,
                                 const char* last_row)
{
    while (!session.quit) {
        std::array<pollfd, 1> watched = {{{STDIN_FILENO, POLLIN, 0}}};
        wait_session(session, watched);
        const request asked = take_request(session);
        if (asked == request::interrupt || asked == request::leave) return std::nullopt;
        if (asked == request::stop) {
            keys.restore();
            stop_here();
        }
        if (asked == request::redraw) {
            keys.set();
            write_out(last_row);
        }
        if (watched[0].revents == 0) continue;
        char key = 0;
        return read(STDIN_FILENO, &key, 1) == 1 ? std::optional(key) : std::nullopt;
    }
    return std::nullopt;
}

void watch_until_key(terminal& terminal)
{
    const key_mode keys;
    print_above_line(terminal, "Any key ends it.\n");
    terminal.unread = wait_for_key(terminal.session, keys, "");
}

constexpr const char* PAGER_KEYS =
    "\033[7m-- space: more, enter: a line, b: back, q: end --\033[0m";
constexpr const char* PAGER_KEYS_AT_END = "\033[7m-- that was all; b: back, space: go on --\033[0m";
constexpr const char* WIPE_ROW = "\r\033[K";

void page_text(terminal& terminal, const std::string& text)
{
    const key_mode keys;
    terminal.paging = true;
    pager pager = make_pager(text);
    std::string part = next_screen(pager, size_of_screen());
    for (;;) {
        const char* const last_row = is_at_end(pager) ? PAGER_KEYS_AT_END : PAGER_KEYS;
        write_out(part + last_row);
        const std::optional<char> key = wait_for_key(terminal.session, keys, last_row);
        write_out(WIPE_ROW);
        part.clear();
        if (!key || *key == 'q' || *key == 'Q') break;
        const bool is_enter = *key == '\n' || *key == '\r';
        if (is_at_end(pager) && (*key == ' ' || is_enter)) break;
        if (*key == ' ') part = next_screen(pager, size_of_screen());
        if (is_enter) part = next_line(pager);
        if (*key == 'b') part = screen_before(pager, size_of_screen());
    }
    terminal.paging = false;
    print_above_line(terminal, std::exchange(terminal.held, {}));
}

void show_text(terminal& terminal, const std::string& text)
{
    if (fits_screen(text, size_of_screen())) return print_above_line(terminal, text);
    if (terminal.editing) erase_line(terminal);
    const bool editing = std::exchange(terminal.editing, false);
    page_text(terminal, text);
    terminal.editing = editing;
    if (terminal.editing) draw_line(terminal);
}

// The line as it is to be after a signal. Returns whether that is the key that empties it.
bool answer_request(terminal& terminal, request asked)
{
    switch (asked) {
    case request::none:
    case request::leave:
        break;
    case request::interrupt: {
        const LineInfo* const line = el_line(terminal.editor);
        if (line->lastchar == line->buffer)
            print_above_line(terminal, "\"quit\" or Ctrl-D leaves the console.\n");
        return true;
    }
    case request::stop:
        erase_line(terminal);
        el_set(terminal.editor, EL_PREP_TERM, 0);
        stop_here();
        break;
    case request::redraw: // the shell, or another program, has had the terminal
        el_set(terminal.editor, EL_PREP_TERM, 0);
        el_set(terminal.editor, EL_PREP_TERM, 1);
        el_resize(terminal.editor);
        write_out(WIPE_ROW); // one that was continued in the background has drawn it already
        draw_line(terminal);
        break;
    case request::resize:
        erase_line(terminal);
        el_resize(terminal.editor);
        draw_line(terminal);
        break;
    }
    return false;
}

enum class key_state { none_yet, complete, input_ended };

// One byte more of a character, whose bytes so far are in the conversion.
key_state add_byte(char byte, std::mbstate_t& conversion, wchar_t& key)
{
    const std::size_t length = std::mbrtowc(&key, &byte, 1, &conversion);
    if (length == static_cast<std::size_t>(-2)) return key_state::none_yet;
    if (length == static_cast<std::size_t>(-1)) {
        conversion = {};
        key = L'?';
    }
    return key_state::complete;
}

key_state read_key(std::mbstate_t& conversion, wchar_t& key)
{
    char byte = 0;
    const ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return key_state::none_yet;
    return count <= 0 ? key_state::input_ended : add_byte(byte, conversion, key);
}

// The editor's source of keys, which serves the session until there is one. Returns 1 with a key,
// 0 when no more will come.
int next_key(EditLine* editor, wchar_t* key)
{
    terminal& terminal = terminal_of(editor);
    console_session& session = terminal.session;
    std::mbstate_t conversion{};
    terminal.editing = true;
    key_state state = key_state::none_yet;
    if (const auto unread = std::exchange(terminal.unread, std::nullopt))
        state = add_byte(*unread, conversion, *key);
    while (state == key_state::none_yet && goes_on(session)) {
        std::array<pollfd, 1> watched = {{{STDIN_FILENO, POLLIN, 0}}};
        wait_session(session, watched);
        if (terminal.prompt != wanted_prompt(session.console)) print_above_line(terminal, "");
        if (answer_request(terminal, take_request(session))) {
            *key = KILL_LINE_KEY;
            return 1;
        }
        if (watched[0].revents != 0 && goes_on(session)) state = read_key(conversion, *key);
    }
    return state == key_state::complete ? 1 : 0;
}

unsigned char complete_word(EditLine* editor, int /*key*/)
{
    terminal& terminal = terminal_of(editor);
    const LineInfo* const typed = el_line(editor);
    const std::string before(typed->buffer, typed->cursor);
    const completion completed = complete(terminal.session.console, before);
    const std::string old_word = before.substr(completed.start);
    if (completed.choices.empty()) return CC_REFRESH_BEEP;
    if (completed.replacement == old_word) {
        std::string list = common::list_text(completed.choices, size_of_screen().columns);
        show_text(terminal, safe_text(list));
        return CC_NORM;
    }
    el_deletestr(editor, static_cast<int>(common::character_count(old_word)));
    el_insertstr(editor, completed.replacement.c_str());
    return CC_REFRESH;
}

void set_up_editor(terminal& terminal, History* recalled)
{
    EditLine* const editor = terminal.editor;
    HistEvent event;
    history(recalled, &event, H_SETSIZE, static_cast<int>(LINES_KEPT));
    for (const std::string& line : terminal.lines)
        history(recalled, &event, H_ENTER, line.c_str());
    el_set(editor, EL_CLIENTDATA, &terminal);
    el_set(editor, EL_PROMPT, show_prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 0);
    el_set(editor, EL_HIST, history, recalled);
    el_set(editor, EL_GETCFN, next_key);
    // The narrow form would copy the texts and never free them.
    el_wset(editor, EL_ADDFN, L"complete-word", L"completes the word", complete_word);
    el_set(editor, EL_BIND, "^I", "complete-word", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

void remember(terminal& terminal, History* recalled, const std::string& line)
{
    if (!add_to_history(terminal.lines, line)) return;
    HistEvent event;
    history(recalled, &event, H_ENTER, line.c_str());
    keep_line(history_path(), line);
}

void run_lines(terminal& terminal, History* recalled)
{
    console_session& session = terminal.session;
    while (goes_on(session)) {
        int length = 0;
        const char* const line = el_gets(terminal.editor, &length);
        terminal.editing = false;
        if (line == nullptr || length <= 0) {
            write_out("\n");
            return;
        }
        const std::string text(line, static_cast<std::size_t>(length));
        const std::string typed = text.substr(0, text.find('\n'));
        remember(terminal, recalled, typed);
        session.console.columns = size_of_screen().columns;
        run_line(session, typed, false);
    }
}
} // namespace

void run_terminal(console_session& session)
{
    terminal terminal{.session = session};
    terminal.lines = read_history(history_path());
    session.print = [&](const std::string& text) {
        print_above_line(terminal, text);
    };
    session.show = [&](const std::string& text) {
        show_text(terminal, text);
    };
    session.watch = [&] {
        watch_until_key(terminal);
    };
    write_out("\"help\" lists the commands.\n");
    terminal.editor = el_init("router_console", stdin, stdout, stderr);
    History* const recalled = history_init();
    set_up_editor(terminal, recalled);
    serve_session(session);
    run_lines(terminal, recalled);
    history_end(recalled);
    el_end(terminal.editor);
    session.print = session.show = write_out;
}

} // namespace console
