#include "product_line/utility.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <algorithm>
#include <string_view>

#include "util/utility_fixtures.h"

namespace {

using namespace std::string_literals;

// --- Texts ---

TEST(Chomp, CutsLineEndsAndOverwritesThem) {
    const struct {
        std::string text, chomped;
    } kCases[] = {
        {"nameserver 192.0.2.1\n", "nameserver 192.0.2.1"},
        {"a\r\n\n", "a"},
        {"a\n\r", "a"},
        {"a\r", "a"},
        {"\r\n\r\n", ""},
        {"\n", ""},
        {"", ""},
        {"a\rb\n", "a\rb"},
        {"a\n\nb\n", "a\n\nb"},
        {"a \t\n", "a \t"},
        {"a\n ", "a\n "},
    };
    for (const auto& row : kCases) {
        // The bytes before and after the text are not touched.
        std::string buffer = "\n\n\0"s + row.text + "\0\n"s;
        chomp(buffer.data() + 3);
        const std::string zeros(row.text.size() - row.chomped.size(), '\0');
        EXPECT_EQ(buffer, "\n\n\0"s + row.chomped + zeros + "\0\n"s);
    }
}

TEST(CutLine, WalksABufferLineByLine) {
    char text[] = "one\n\nthree\r";
    char* rest = cut_line(text);
    EXPECT_STREQ(text, "one");
    EXPECT_EQ(rest, text + 4);
    char* last = cut_line(rest);
    EXPECT_STREQ(rest, "");
    EXPECT_STREQ(last, "three\r");
    EXPECT_EQ(cut_line(last), last + 6) << "without a line feed: the end";
    EXPECT_STREQ(last, "three\r");
    char empty[] = "\0\n";
    EXPECT_EQ(cut_line(empty), empty);
    EXPECT_EQ(empty[1], '\n');
}

TEST(ClearString, ChangesOnlyTheFirstByte) {
    char text[] = "abc";
    clear_string(text);
    EXPECT_EQ(std::string(text, sizeof text), "\0bc\0"s);
}

TEST(SkipPrefix, ReturnsWhatFollowsThePrefixInAnyCase) {
    const struct {
        const char *text, *prefix, *rest;
    } kCases[] = {
        {"ssl_enable=YES", "ssl_enable=", "YES"},
        {"Enable", "en", "able"},
        {"Enable", "EN", "able"},
        {"enable", "ENABLE", ""},
        {"Enable", "", "Enable"},
        {"", "", ""},
        {"en", "enable", nullptr},
        {"", "enable", nullptr},
        {"disable", "en", nullptr},
        {"eXable", "ena", nullptr},
    };
    for (const auto& row : kCases)
        EXPECT_STREQ(skip_prefix(row.text, row.prefix), row.rest) << row.text << " " << row.prefix;
    const char* text = "Enable";
    EXPECT_EQ(skip_prefix(text, "en"), text + 2);
}

struct Trimmed {
    std::string text;
    std::string without_leading;
    std::string without_trailing;
    std::string without_both;
};

const Trimmed kTrimmed[] = {
    {"", "", "", ""},
    {"abc", "abc", "abc", "abc"},
    {" abc ", "abc ", " abc", "abc"},
    {"\t\n\r abc", "abc", "\t\n\r abc", "abc"},
    {"abc \r\n\t", "abc \r\n\t", "abc", "abc"},
    {"  a  b\tc  ", "a  b\tc  ", "  a  b\tc", "a  b\tc"},
    {" \t\r\n", "", "", ""},
    // White space elsewhere, but not for these routines.
    {"\v abc \f", "\v abc \f", "\v abc \f", "\v abc \f"},
    {" \fabc\v ", "\fabc\v ", " \fabc\v", "\fabc\v"},
    {"\xa0 abc\xa0", "\xa0 abc\xa0", "\xa0 abc\xa0", "\xa0 abc\xa0"},
};

TEST(Space, IsCutAtTheStartTheEndOrBoth) {
    for (const Trimmed& row : kTrimmed) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        std::string text = row.text;
        EXPECT_STREQ(skip_space(text.data()), row.without_leading.c_str());
        EXPECT_EQ(text, row.text) << "skip_space must not change the text";
        text += "\0behind"s;
        std::string expected = text;
        const size_t written = row.without_leading.size() + 1;
        expected.replace(0, written, row.without_leading.c_str(), written);
        strip_leading_space(text.data());
        EXPECT_EQ(text, expected) << "only the text and its end are moved";
        // The bytes before the text are not touched.
        text = " \t\0"s + row.text;
        trim_trailing_space(text.data() + 3);
        EXPECT_STREQ(text.c_str() + 3, row.without_trailing.c_str());
        EXPECT_EQ(text.substr(0, 3), " \t\0"s);
        text = row.text;
        const char* start = trim_space(text.data());
        EXPECT_STREQ(start, row.without_both.c_str());
        EXPECT_GE(start, text.data());
        EXPECT_LE(start, text.data() + text.size());
    }
}

TEST(AnyNonzero, LooksOnlyAtTheFirstBytes) {
    const unsigned char bytes[] = {0, 0, 0, 7, 0};
    EXPECT_FALSE(any_nonzero(bytes, 3));
    EXPECT_TRUE(any_nonzero(bytes, 4));
    EXPECT_TRUE(any_nonzero(bytes, 5));
    EXPECT_TRUE(any_nonzero(bytes + 3, 1));
    EXPECT_FALSE(any_nonzero(bytes + 4, 1));
    EXPECT_FALSE(any_nonzero(bytes + 3, 0));
}

// --- Sizes ---

struct SizeText {
    int64_t bytes;
    const char* text;
};

constexpr SizeText kSizeTexts[] = {
    {0, "0 bytes"},
    {1, "1 bytes"},
    {999, "999 bytes"},
    {1000, "1.000KB"},
    {1001, "1.001KB"},
    {1500, "1.500KB"},
    {999'999, "999.999KB"},
    {1'000'000, "1.000MB"},
    {1'000'999, "1.000MB"},
    {1'050'000, "1.050MB"},
    {1'234'567, "1.234MB"},
    {1'999'999, "1.999MB"},
    {999'999'999, "999.999MB"},
    {1'000'000'000, "1.000GB"},
    {1'000'000'000'000, "1.000TB"},
    {1'000'000'000'000'000, "1.000PB"},
    {999'999'999'999'999'999, "999.999PB"},
    {1'000'000'000'000'000'000, "1000.000PB"},
    {INT64_MAX, "9223.372PB"},
    {-1, ""},
    {INT64_MIN, ""},
};

TEST(FormatSize, TruncatesToThreeDecimalsAndFitsIntoItsBuffer) {
    for (const SizeText& size : kSizeTexts) {
        std::string buffer(kSizeTextBytes + 8, '#');
        format_size(size.bytes, buffer.data());
        EXPECT_STREQ(buffer.c_str(), size.text);
        EXPECT_EQ(buffer.substr(kSizeTextBytes), "########") << size.bytes;
        EXPECT_EQ(format_size_string(size.bytes), size.text);
    }
}

// --- Descriptors ---

TEST(Cloexec, IsSetAndCleared) {
    const int file = open("/dev/null", O_RDONLY);
    EXPECT_EQ(set_cloexec(file), 0);
    EXPECT_EQ(fcntl(file, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(clear_cloexec(file), 0);
    EXPECT_EQ(fcntl(file, F_GETFD), 0);
    close(file);
    for (auto* change : {set_cloexec, clear_cloexec}) {
        errno = 0;
        EXPECT_EQ(change(-1), -1);
        EXPECT_EQ(errno, EBADF);
    }
}

// --- Files ---

size_t OpenDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(descriptors), end(descriptors)));
}

// All 16 bytes of the buffer after reading at most n - 1.
std::string SmallFile(const std::string& path, size_t n, int result = 0) {
    std::string buffer(16, '#');
    const size_t before = OpenDescriptors();
    EXPECT_EQ(read_small_file(path.c_str(), buffer.data(), n), result);
    EXPECT_EQ(OpenDescriptors(), before) << "the file must be closed";
    return buffer;
}

TEST(ReadSmallFile, ReadsWhatFitsAndEndsItWithANul) {
    const TemporaryFolder folder;
    EXPECT_EQ(SmallFile(folder.File("hostname", "tavrin\n"), 16), "tavrin\n\0########"s);
    EXPECT_EQ(SmallFile(folder.File("empty", ""), 16), "\0###############"s);
    const std::string digits = folder.File("digits", "0123456789");
    EXPECT_EQ(SmallFile(digits, 11), "0123456789\0#####"s);
    EXPECT_EQ(SmallFile(digits, 10), "012345678\0######"s);
    EXPECT_EQ(SmallFile(digits, 5), "0123\0###########"s);
    EXPECT_EQ(SmallFile(digits, 1), "\0###############"s);
    EXPECT_EQ(SmallFile(digits, 0), std::string(16, '#'));
}

TEST(ReadSmallFile, AMissingFileLeavesTheBufferUnchanged) {
    const TemporaryFolder folder;
    for (size_t n : {size_t{16}, size_t{0}})
        EXPECT_EQ(SmallFile(folder.Path("missing"), n, -1), std::string(16, '#'));
    // A folder can be opened, but not read.
    EXPECT_EQ(SmallFile(folder.path, 16), "\0###############"s);
}

TEST(ReadSmallFile, ReadsOnlyOnce) {
    Pipe packets(O_DIRECT);
    packets.Write("one");
    packets.Write("two");
    packets.CloseWriter();
    EXPECT_EQ(SmallFile(packets.ReaderPath(), 16), "one\0############"s);
}

mode_t ModeOf(const std::string& file) {
    struct stat status = {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST(WriteSmallFile, WritesOnlyTheText) {
    const TemporaryFolder folder;
    const std::string file = folder.File("hostname", "a-much-longer-name\n");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    const size_t before = OpenDescriptors();
    for (const std::string text : {"tavrin", ""}) {
        EXPECT_EQ(write_small_file(file.c_str(), text.c_str()), 0);
        EXPECT_EQ(ContentOf(file), text);
        EXPECT_EQ(ModeOf(file), 0600U);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(WriteSmallFile, ANewFileHasMode0644) {
    const TemporaryFolder folder;
    const mode_t before = umask(0);
    EXPECT_EQ(write_small_file(folder.Path("wide").c_str(), "text"), 0);
    umask(077);
    EXPECT_EQ(write_small_file(folder.Path("narrow").c_str(), "text"), 0);
    umask(before);
    EXPECT_EQ(ModeOf(folder.Path("wide")), 0644U);
    EXPECT_EQ(ModeOf(folder.Path("narrow")), 0600U);
    EXPECT_EQ(ContentOf(folder.Path("narrow")), "text");
}

TEST(WriteSmallFile, ReportsOnlyAFileThatCannotBeOpened) {
    const TemporaryFolder folder;
    EXPECT_EQ(write_small_file(folder.path.c_str(), "text"), -1);
    EXPECT_EQ(write_small_file(folder.Path("missing/file").c_str(), "text"), -1);
    EXPECT_EQ(write_small_file("/dev/full", "text"), 0);
}

TEST(ReadFileLine, ReturnsTheTextWithoutItsLineEnd) {
    const TemporaryFolder folder;
    const struct {
        std::string content, line;
    } kCases[] = {
        {"tavrin\n", "tavrin"},
        {"tavrin\r\n\n", "tavrin"},
        {"tavrin", "tavrin"},
        {"one\r\n\ntwo\n", "one\r\n\ntwo"},
        {"one\n\0two\n"s, "one"},
        // at most 1023 bytes
        {std::string(1023, 'x'), std::string(1023, 'x')},
        {std::string(1022, 'x') + "yz\n", std::string(1022, 'x') + "y"},
        {std::string(1022, 'x') + "\nz", std::string(1022, 'x')},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(read_file_line(folder.File("file", row.content).c_str()), row.line);
    EXPECT_EQ(read_file_line(folder.Path("missing").c_str()), "");
    EXPECT_EQ(read_file_line(folder.path.c_str()), "");
}

// --- Processes ---

// A name that no other process on this machine has.
std::string OwnName(const std::string& name) {
    return name + std::to_string(getpid());
}

TEST(FindProcessByName, FindsAProgramByTheNameItWasStartedWith) {
    const std::string crond = OwnName("crond");
    for (const std::string folder : {"/usr/sbin/", "", "/usr/sbin///"}) {
        const RunningProcess process({folder + crond});
        EXPECT_EQ(find_process_by_name(crond.c_str()), process.pid) << folder;
    }
}

TEST(FindProcessByName, TheWholeNameMustMatch) {
    const std::string crond = OwnName("crond");
    const std::string sbin = OwnName("sbin");
    for (const std::string& other :
         {"/usr/sbin/" + crond + "-wrapper", crond + ": master", "/usr/sbin/my" + crond,
          OwnName("Crond"), "/usr/" + crond + "/" + sbin, "/usr/" + crond + "/"}) {
        const RunningProcess process({other});
        EXPECT_EQ(find_process_by_name(crond.c_str()), 0) << other;
        EXPECT_EQ(find_process_by_name((crond + "/" + sbin).c_str()), 0) << other;
    }
}

TEST(FindProcessByName, ArgumentsAndTheProgramFileDoNotCount) {
    const std::string crond = OwnName("crond");
    const std::string other = OwnName("other");
    const TemporaryFolder folder;
    const RunningProcess process({"/usr/sbin/" + crond, "-", folder.File(other, "")});
    EXPECT_EQ(find_process_by_name(crond.c_str()), process.pid);
    EXPECT_EQ(find_process_by_name(other.c_str()), 0);
    EXPECT_NE(find_process_by_name("cat"), process.pid);  // its program file is cat's
}

TEST(FindProcessByName, AFinishedProcessHasNoName) {
    const std::string crond = OwnName("crond");
    RunningProcess process({crond});
    ASSERT_EQ(find_process_by_name(crond.c_str()), process.pid);
    process.EndUnreaped();
    EXPECT_EQ(find_process_by_name(crond.c_str()), 0);
}

TEST(FindProcessByName, TheFirstOfSeveralWins) {
    const std::string crond = OwnName("crond");
    const RunningProcess one({crond});
    const RunningProcess two({crond});
    EXPECT_EQ(find_process_by_name(crond.c_str()), std::min(one.pid, two.pid));
}

// A path of that many bytes that ends in the name.
std::string LongPath(size_t length, const std::string& name) {
    std::string path(length, 'x');
    path.replace(length - name.size() - 1, std::string::npos, "/" + name);
    return path;
}

TEST(FindProcessByName, OnlyTheFirst1022BytesCount) {
    const std::string fitting = OwnName("fitting");
    const std::string overlong = OwnName("overlong");
    const RunningProcess process({LongPath(1022, fitting)});
    const RunningProcess other_process({LongPath(1023, overlong)});
    EXPECT_EQ(find_process_by_name(fitting.c_str()), process.pid);
    EXPECT_EQ(find_process_by_name(overlong.c_str()), 0);
}

TEST(FindProcessByName, ClosesWhatItOpens) {
    const std::string crond = OwnName("crond");
    const RunningProcess process({crond});
    const size_t before = OpenDescriptors();
    find_process_by_name(crond.c_str());
    find_process_by_name(OwnName("nobody").c_str());
    EXPECT_EQ(OpenDescriptors(), before);
}

Answer FindProcessBelow(const TemporaryFolder& root, const char* name) {
    return AnswerInChild([&] { return EnterRoot(root.path); },
                         [&] { return find_process_by_name(name); });
}

TEST(FindProcessByName, OnlyProcessesWithReadableArgumentsHaveNames) {
    const TemporaryFolder root;
    const Answer without_proc = FindProcessBelow(root, "crond");
    SKIP_WHERE_REFUSED(without_proc);
    EXPECT_EQ(without_proc.value, 0);
    for (const char* folder : {"0", "-5", ".7", "self"})
        root.File("proc/"s + folder + "/cmdline", "crond\0"s);
    root.File("proc/version", "crond\0"s);
    for (int pid = 1; pid < 40; ++pid)
        root.File("proc/" + std::to_string(pid) + "/stat", "");
    EXPECT_EQ(FindProcessBelow(root, "crond").value, 0);
    EXPECT_EQ(FindProcessBelow(root, "").value, 0);
    root.File("proc/40/cmdline", "/usr/sbin/crond\0-n\0"s);
    EXPECT_EQ(FindProcessBelow(root, "crond").value, 40);
    EXPECT_EQ(FindProcessBelow(root, "").value, 0);
    // A kernel thread has no arguments.
    root.File("proc/41/cmdline", "");
    root.File("proc/41/comm", "kthreadd\n");
    EXPECT_EQ(FindProcessBelow(root, "kthreadd").value, 0);
    EXPECT_EQ(FindProcessBelow(root, "").value, 41);
}

TEST(FindProcessByName, TheOrderOfProcDecides) {
    const TemporaryFolder root;
    for (int pid = 5; pid < 15; ++pid) {
        root.File("proc/" + std::to_string(pid) + "/cmdline", "crond\0"s);
    }
    const std::filesystem::directory_iterator processes(root.Path("proc"));
    const int first = std::stoi(processes->path().filename().string());
    const Answer answer = FindProcessBelow(root, "crond");
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, first);
}

// Runs a shell script with run_and_wait; its "$1" is the argument.
int RunScript(std::string script, std::string argument = "") {
    std::string shell = "/bin/sh";
    std::string flag = "-c";
    std::string name = "script";
    char* const arguments[] = {shell.data(), flag.data(),     script.data(),
                               name.data(),  argument.data(), nullptr};
    return run_and_wait(nullptr, arguments);
}

TEST(RunAndWait, ReturnsTheWaitStatusUnchanged) {
    int status = RunScript("exit 7");
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(RunScript("exit 0"), 0);
    status = RunScript("kill -TERM $$");
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(RunAndWait, PassesTheArgumentsUnchanged) {
    const TemporaryFolder folder;
    const std::string file = folder.Path("two words; $HOME");
    EXPECT_EQ(RunScript("printf %s \"$0 $#\" > \"$1\"", file), 0);
    EXPECT_EQ(ContentOf(file), "script 1");
}

// The path is not searched either.
TEST(RunAndWait, AProgramThatCannotBeRunExitsWithOne) {
    for (std::string program : {"/nonexistent/program", "sh"}) {
        char flag[] = "-c";
        char script[] = "exit 0";
        char* const arguments[] = {program.data(), flag, script, nullptr};
        const int status = run_and_wait(nullptr, arguments);
        EXPECT_TRUE(WIFEXITED(status)) << program;
        EXPECT_EQ(WEXITSTATUS(status), 1) << program;
    }
}

TEST(RunAndWait, IgnoresTheContext) {
    char program[] = "/bin/true";
    char* const arguments[] = {program, nullptr};
    EXPECT_EQ(run_and_wait("/bin/false", arguments), 0);
}

TEST(RunAndWait, DoesNotReapOtherChildren) {
    const pid_t other = fork();
    ASSERT_GE(other, 0);
    if (other == 0) _exit(3);
    siginfo_t ended = {};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(WEXITSTATUS(RunScript("exit 7")), 7);
    int status = 0;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(RunAndWait, BufferedOutputIsWrittenOnlyOnce) {
    char missing[] = "/nonexistent/program";
    char* const arguments[] = {missing, nullptr};
    const Answer answer = AnswerInChild([&] {
        printf("Stopping interface...");
        return run_and_wait(nullptr, arguments);
    });
    EXPECT_EQ(answer.output, "Stopping interface...");
}

int go_ahead = -1;  // the line for the waiting script is written here

// While one of these lives, a script can wait for a line that is sent only 50 ms later, with
// run_and_wait waiting, by the handler of a signal that interrupts the wait.
struct LateLine {
    LateLine()
        : alarm(SIGALRM,
                [](int) { [[maybe_unused]] const ssize_t written = write(go_ahead, "\n", 1); }) {
        go_ahead = pipe.Writer();
        itimerval timer = {};
        timer.it_value.tv_usec = 50'000;
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    ~LateLine() {
        const itimerval off = {};
        setitimer(ITIMER_REAL, &off, nullptr);
    }
    LateLine(const LateLine&) = delete;
    LateLine& operator=(const LateLine&) = delete;

    Pipe pipe;
    SignalAction alarm;
};

TEST(RunAndWait, AnInterruptedWaitGoesOn) {
    const LateLine line;
    const int status = RunScript("read line < \"$1\"; exit 5", line.pipe.ReaderPath());
    ASSERT_NE(status, -1);
    EXPECT_EQ(WEXITSTATUS(status), 5);
}

TEST(RunAndWait, IfSigchldIsIgnoredWaitsButReturnsNoStatus) {
    const SignalAction ignored(SIGCHLD, SIG_IGN);
    const TemporaryFolder folder;
    const LateLine line;
    const std::string done = folder.Path("done");
    const int status = RunScript("read line < \"$1\"; echo done > " + done, line.pipe.ReaderPath());
    EXPECT_EQ(status, -1);
    EXPECT_EQ(ContentOf(done), "done\n");
}

TEST(RunAndWait, ReportsAFailedFork) {
    const Answer answer = AnswerInChild(
        [] {
            const rlimit none = {0, 0};
            if (setrlimit(RLIMIT_NPROC, &none) != 0) return Prepared::kRefused;
            constexpr uid_t kNobody = 65534;  // the limit does not apply to root
            if (geteuid() == 0 && setuid(kNobody) != 0) return Prepared::kRefused;
            return Prepared::kYes;
        },
        [] { return RunScript("echo started"); });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, -1);
    EXPECT_EQ(answer.output, "");
}

// --- Network ---

long FindOnASocket() {
    const int datagram_socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const in_addr_t address = find_eth_ipv4(datagram_socket);
    close(datagram_socket);
    return address;
}

Answer FindIn(const std::vector<MadeInterface>& network) {
    return AnswerInChild([&] { return EnterNetwork(network); }, FindOnASocket);
}

TEST(FindEthIpv4, ReturnsAndPrintsTheFirstAddress) {
    const struct {
        std::vector<MadeInterface> network;
        const char* address;
    } kCases[] = {
        {{{"eth0", "192.0.2.17"}}, "192.0.2.17"},
        {{{"eth5", "192.0.2.5"}, {"eth3", "192.0.2.3"}, {"eth1", nullptr}}, "192.0.2.3"},
        {{{"eth8", "192.0.2.8"}}, "192.0.2.8"},
        {{{"eth0", "0.0.0.0"}, {"eth1", "192.0.2.1"}}, "192.0.2.1"},
        {{{"eth9", "192.0.2.9"}, {"eth10", "192.0.2.10"}}, nullptr},
        {{{"wlan0", "192.0.2.1"}, {"eth", "192.0.2.2"}}, nullptr},
    };
    for (const auto& row : kCases) {
        const Answer answer = FindIn(row.network);
        SKIP_WHERE_REFUSED(answer);
        if (row.address == nullptr) {
            EXPECT_EQ(answer.value, 0);
            EXPECT_EQ(answer.output, "");
        } else {
            EXPECT_EQ(answer.value, static_cast<long>(inet_addr(row.address)));
            EXPECT_EQ(answer.output, std::string("Found: ") + row.address + "\n");
        }
    }
}

TEST(FindEthIpv4, AClosedSocketFindsNothing) {
    const Answer answer = AnswerInChild(
        [] {
            return EnterNetwork({{"eth0", "192.0.2.1"}});
        },
        [] { return static_cast<long>(find_eth_ipv4(-1)); });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 0);
    EXPECT_EQ(answer.output, "");
}

Answer FindAmongPretended(const std::vector<MadeInterface>& interfaces) {
    return AnswerInChild([&] { return PretendInterfaces(interfaces); }, FindOnASocket);
}

TEST(FindEthIpv4, AnAddressOfZeroOrOfAnotherFamilyDoesNotCount) {
    for (const MadeInterface& other :
         {MadeInterface{"eth2", "0.0.0.0"}, MadeInterface{"eth2", "192.0.2.99", AF_PACKET}}) {
        const Answer answer = FindAmongPretended({other, {"eth4", "192.0.2.4"}});
        SKIP_WHERE_REFUSED(answer);
        EXPECT_EQ(answer.value, static_cast<long>(inet_addr("192.0.2.4")));
        EXPECT_EQ(answer.output, "Found: 192.0.2.4\n");
    }
}

}  // namespace
