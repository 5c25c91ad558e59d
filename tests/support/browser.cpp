// browser: the toy's browser build in headless Chromium (see browser.h).
//
// Index of this file:
// [SECTION] Helpers
// [SECTION] Fixture: the driver
// [SECTION] Fixture: the page and its storage
// [SECTION] Fixture: input and pixels
#include "browser.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>
#include <utility>

#include "toy.h"

extern const char BROWSER_SAVE_FOLDER[] = "/home/web_user/.kobaltine";
extern const char BROWSER_SETTINGS_FILE[] = "/home/web_user/.kobaltine/lumlife/settings.cfg";

//----------------------------------------------------------------------------------
// [SECTION] Helpers
//----------------------------------------------------------------------------------
namespace {

using Clock = std::chrono::steady_clock;

constexpr char BASE64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int BROWSER_POLL_MS = 20;  // between two looks at the canvas while waiting

Clock::time_point deadline_after(double seconds)
{
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// The driver, beside this file in the source tree
std::string driver_path()
{
    return std::string(SOURCE_DIR) + "/tests/support/browser_driver.py";
}

// A JSON string's text: the escapes JSON.stringify writes
std::string json_text(const std::string &json)
{
    std::string out;
    if (json.size() < 2 || json.front() != '"')
        return json;
    for (size_t i = 1; i + 1 < json.size(); i++) {
        if (json[i] != '\\') {
            out += json[i];
            continue;
        }
        char c = json[++i];
        switch (c) {
        case 'n': out += '\n'; break;
        case 't': out += '\t'; break;
        case 'r': out += '\r'; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'u': out += static_cast<char>(std::stoi(json.substr(i + 1, 4), nullptr, 16)); i += 4; break;
        default: out += c; break;
        }
    }
    return out;
}

// IndexedDB as the toy's file system keeps it: one object store of entries by absolute path,
// each with its time, mode and (for a file) contents, indexed by time. `body` runs with `store`
// open for writing or reading.
std::string with_store(const std::string &mode, const std::string &body)
{
    return R"((async () => {
  const db = await new Promise((resolve, reject) => {
    const request = indexedDB.open(")" + std::string(BROWSER_SAVE_FOLDER) + R"(", 21);
    request.onupgradeneeded = () => {
      request.result.createObjectStore("FILE_DATA").createIndex("timestamp", "timestamp", {unique: false});
    };
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => reject(request.error);
  });
  const transaction = db.transaction(["FILE_DATA"], ")" + mode + R"(");
  const done = new Promise(resolve => { transaction.oncomplete = resolve; transaction.onabort = resolve; });
  const store = transaction.objectStore("FILE_DATA");
  const result = await new Promise((resolve, reject) => {
    )" + body + R"(
  });
  await done;
  db.close();
  return result;
})())";
}

}  // namespace

std::string browser_base64(const std::vector<uint8_t> &bytes)
{
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t n = static_cast<uint32_t>(bytes[i]) << 16;
        if (i + 1 < bytes.size())
            n |= static_cast<uint32_t>(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size())
            n |= bytes[i + 2];
        out += BASE64[n >> 18 & 63];
        out += BASE64[n >> 12 & 63];
        out += i + 1 < bytes.size() ? BASE64[n >> 6 & 63] : '=';
        out += i + 2 < bytes.size() ? BASE64[n & 63] : '=';
    }
    return out;
}

std::vector<uint8_t> browser_unbase64(const std::string &text)
{
    std::vector<uint8_t> out;
    uint32_t n = 0;
    int bits = 0;
    for (char c : text) {
        const char *at = std::char_traits<char>::find(BASE64, 64, c);
        if (!at)
            continue;
        n = n << 6 | static_cast<uint32_t>(at - BASE64);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<uint8_t>(n >> bits & 255));
        }
    }
    return out;
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: the driver
//----------------------------------------------------------------------------------
BrowserTest::BrowserTest(std::string web_build) : root(std::move(web_build)) {}

void BrowserTest::SetUp()
{
    scratch = process_temp_dir("lumweb");
    ASSERT_FALSE(scratch.empty());
    const std::string fifo = scratch + "/commands";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string error;
    ASSERT_TRUE(process_start(driver, {"/usr/bin/python3", driver_path(), root, scratch + "/profile", fifo}, "", error))
        << error;
    // Opened for reading by the driver at once; a driver that ends first leaves this open waiting,
    // so the open does not block: it is retried until the driver has its end open
    Clock::time_point deadline = deadline_after(BROWSER_START_SECONDS);
    while ((commands = open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) < 0 && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(BROWSER_POLL_MS));
    ASSERT_GE(commands, 0) << "the driver did not open its commands\n" << transcript();
    // From now on a command waits for the driver to take it
    fcntl(commands, F_SETFL, fcntl(commands, F_GETFL) & ~O_NONBLOCK);
    ASSERT_TRUE(logged(std::regex("^ready ")));
}

void BrowserTest::TearDown()
{
    if (commands >= 0) {
        command("quit");
        close(commands);
    }
    process_wait_exit(driver, BROWSER_WAIT_SECONDS);
    process_stop(driver);
    process_remove_dir(scratch);
}

::testing::AssertionResult BrowserTest::command(const std::string &what, std::string *answer)
{
    const int id = ++next_id;
    const std::string line = std::to_string(id) + " " + what + "\n";
    if (write(commands, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        return ::testing::AssertionFailure() << "cannot send '" << what << "' to the driver";
    std::regex reply("^reply " + std::to_string(id) + " (ok|error) ?(.*)$");
    int at = process_wait_line(driver, reply, BROWSER_WAIT_SECONDS);
    if (at < 0)
        return ::testing::AssertionFailure() << "no answer to '" << what.substr(0, 200) << "'\n" << transcript();
    std::smatch m;
    std::regex_match(driver.lines[static_cast<size_t>(at)], m, reply);
    if (m[1] != "ok")
        return ::testing::AssertionFailure() << "'" << what.substr(0, 200) << "' failed: " << m[2];
    if (answer)
        *answer = m[2];
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult BrowserTest::eval(const std::string &js, std::string *json)
{
    // One line per command: the script's own line breaks are spaces to JavaScript
    std::string flat = js;
    for (char &c : flat)
        if (c == '\n')
            c = ' ';
    return command("eval " + flat, json);
}

::testing::AssertionResult BrowserTest::logged(const std::regex &pattern, int *at)
{
    int found = process_wait_line(driver, pattern, BROWSER_WAIT_SECONDS, next_line);
    if (found < 0)
        return ::testing::AssertionFailure() << "no console line as wanted from line " << next_line << "\n"
                                             << transcript();
    next_line = static_cast<size_t>(found) + 1;
    if (at)
        *at = found;
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult BrowserTest::toy_logged(const std::string &message, int *at)
{
    ::testing::AssertionResult r =
        logged(std::regex("^console " + std::string(TOY_LOG_PREFIX) + "(?:" + message + ")$"), at);
    if (!r)
        r << "(waiting for '" << message << "')";
    return r;
}

std::string BrowserTest::transcript() const
{
    return process_transcript(driver);
}

::testing::AssertionResult BrowserTest::no_exception()
{
    for (const std::string &line : driver.lines)
        if (line.rfind("console EXCEPTION", 0) == 0)
            return ::testing::AssertionFailure() << line;
    return ::testing::AssertionSuccess();
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: the page and its storage
//----------------------------------------------------------------------------------
::testing::AssertionResult BrowserTest::open_toy()
{
    if (auto r = command("goto /index.html"); !r)
        return r;
    return toy_logged("BUTTON HEIGHT .*");
}

::testing::AssertionResult BrowserTest::reload_toy()
{
    if (auto r = command("reload"); !r)
        return r;
    if (auto r = toy_logged("lum init"); !r)
        return r;
    return toy_logged("BUTTON HEIGHT .*");
}

::testing::AssertionResult BrowserTest::store_settings(const SETTINGS_RECORD &r)
{
    if (auto ok = command("goto /empty"); !ok)
        return ok;
    const std::string folder = std::string(BROWSER_SAVE_FOLDER) + "/lumlife";
    const std::string body = R"(
    const now = new Date();
    store.put({timestamp: now, mode: 16877}, ")" + folder + R"(");
    const request = store.put({timestamp: now, mode: 33188,
        contents: Uint8Array.from(atob(")" + browser_base64(r.bytes) + R"("), c => c.charCodeAt(0))},
        ")" + BROWSER_SETTINGS_FILE + R"(");
    request.onsuccess = () => resolve(1);
    request.onerror = () => reject(request.error);)";
    // The empty page may still be opening: the script waits until it has a document
    return eval("new Promise(r => (document.readyState === 'complete' ? r() : addEventListener('load', r))).then(() => " +
                with_store("readwrite", body) + ")");
}

::testing::AssertionResult BrowserTest::stored_settings(SETTINGS_RECORD &r)
{
    const std::string body = R"(
    const request = store.get(")" + std::string(BROWSER_SETTINGS_FILE) + R"(");
    request.onsuccess = () => resolve(request.result
        ? btoa(Array.from(request.result.contents, b => String.fromCharCode(b)).join("")) : "");
    request.onerror = () => reject(request.error);)";
    std::string json;
    if (auto ok = eval(with_store("readonly", body), &json); !ok)
        return ok;
    r.bytes = browser_unbase64(json_text(json));
    if (r.bytes.empty())
        return ::testing::AssertionFailure() << "IndexedDB holds no settings file";
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult BrowserTest::hide_page()
{
    if (auto r = eval("Object.defineProperty(document, 'visibilityState', {value: 'hidden', configurable: true});"
                      "document.dispatchEvent(new Event('visibilitychange')); 1");
        !r)
        return r;
    if (auto r = toy_logged("page hidden: saving"); !r)
        return r;
    return logged(std::regex("^console IndexedDB: stored '" + literal(BROWSER_SETTINGS_FILE) + "'$"));
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: input and pixels
//----------------------------------------------------------------------------------
::testing::AssertionResult BrowserTest::mouse(const std::string &kind, double x, double y)
{
    return command("mouse " + kind + " " + std::to_string(x) + " " + std::to_string(y));
}

::testing::AssertionResult BrowserTest::key(const std::string &kind, const std::string &name)
{
    return command("key " + kind + " " + name);
}

// F9 is taken on its release
::testing::AssertionResult BrowserTest::ticked()
{
    for (const char *rate : {"RATE 4", "RATE 60"}) {
        if (auto r = key("down", "F9"); !r)
            return r;
        if (auto r = key("up", "F9"); !r)
            return r;
        int at = process_wait_line(driver, std::regex("^console " + std::string(TOY_LOG_PREFIX) + rate + "$"),
                                   BROWSER_WAIT_SECONDS, rate_line);
        if (at < 0)
            return ::testing::AssertionFailure() << "no '" << rate << "' from line " << rate_line << "\n" << transcript();
        rate_line = static_cast<size_t>(at) + 1;
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult BrowserTest::press(double x, double y)
{
    if (auto r = mouse("move", x, y); !r)
        return r;
    if (auto r = mouse("press", x, y); !r)
        return r;
    return ticked();
}

::testing::AssertionResult BrowserTest::release(double x, double y)
{
    if (auto r = mouse("release", x, y); !r)
        return r;
    return ticked();
}

::testing::AssertionResult BrowserTest::click(const LAYOUT_SPOT &s)
{
    if (auto r = press(s.x, s.y); !r)
        return r;
    return release(s.x, s.y);
}

::testing::AssertionResult BrowserTest::pixels(BROWSER_PIXELS &out, bool whole_page)
{
    const std::string path = scratch + "/canvas.rgb";
    std::string size;
    if (auto r = command("pixels " + path + (whole_page ? " page" : ""), &size); !r)
        return r;
    std::istringstream(size) >> out.w >> out.h;
    std::ifstream in(path, std::ios::binary);
    out.rgb.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (out.w <= 0 || out.h <= 0 || out.rgb.size() != static_cast<size_t>(out.w) * static_cast<size_t>(out.h) * 3)
        return ::testing::AssertionFailure() << "the canvas read back as " << size << " with " << out.rgb.size()
                                             << " bytes";
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult BrowserTest::see(const std::function<bool(const BROWSER_PIXELS &)> &wanted,
                                            const std::string &what)
{
    Clock::time_point deadline = deadline_after(BROWSER_WAIT_SECONDS);
    BROWSER_PIXELS shown;
    for (;;) {
        if (auto r = pixels(shown, false); !r)
            return r;
        if (wanted(shown))
            return ::testing::AssertionSuccess();
        if (Clock::now() >= deadline)
            return ::testing::AssertionFailure() << "the canvas never showed " << what;
        std::this_thread::sleep_for(std::chrono::milliseconds(BROWSER_POLL_MS));
    }
}
