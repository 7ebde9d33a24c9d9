#include "product_line/utility.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <algorithm>
#include <string_view>

#include "util/utility_fixtures.h"

namespace {

using namespace std::string_literals;

#define SKIP_WHERE_REFUSED(answer) \
    if ((answer).prepared == Prepared::kRefused) GTEST_SKIP() << "not possible on this system"

// --- Texts ---

std::string Chomped(std::string text) {
    chomp(text.data());
    return text.substr(0, text.find('\0'));
}

TEST(Chomp, CutsOneLineFeed) {
    EXPECT_EQ(Chomped("nameserver 192.0.2.1\n"), "nameserver 192.0.2.1");
}

TEST(Chomp, CutsAnyMixtureOfLineEnds) {
    EXPECT_EQ(Chomped("a\r\n\n"), "a");
    EXPECT_EQ(Chomped("a\n\r"), "a");
    EXPECT_EQ(Chomped("a\r"), "a");
}

TEST(Chomp, LeavesNothingOfATextOfLineEnds) {
    EXPECT_EQ(Chomped("\r\n\r\n"), "");
    EXPECT_EQ(Chomped("\n"), "");
}

TEST(Chomp, KeepsLineEndsInside) {
    EXPECT_EQ(Chomped("a\rb\n"), "a\rb");
    EXPECT_EQ(Chomped("a\n\nb\n"), "a\n\nb");
}

TEST(Chomp, KeepsBlanksAtTheEnd) {
    EXPECT_EQ(Chomped("a \t\n"), "a \t");
    EXPECT_EQ(Chomped("a\n "), "a\n ");
}

TEST(Chomp, OverwritesEveryCutByte) {
    char text[] = "a\r\n\n";
    chomp(text);
    EXPECT_EQ(std::string(text, sizeof text), "a\0\0\0\0"s);
}

TEST(Chomp, LeavesTheBytesBeforeTheTextAlone) {
    char buffer[] = "\n\n\0\n";
    chomp(buffer + 2);
    EXPECT_EQ(std::string(buffer, sizeof buffer), "\n\n\0\n\0"s);
    chomp(buffer + 3);
    EXPECT_EQ(std::string(buffer, sizeof buffer), "\n\n\0\0\0"s);
}

TEST(CutLine, EndsTheTextAtItsFirstLineFeed) {
    char text[] = "one\ntwo\nthree";
    char* rest = cut_line(text);
    EXPECT_STREQ(text, "one");
    EXPECT_EQ(rest, text + 4);
    EXPECT_STREQ(rest, "two\nthree");
}

TEST(CutLine, WithoutALineFeedReturnsTheEnd) {
    char text[] = "one\r";
    EXPECT_EQ(cut_line(text), text + 4);
    EXPECT_STREQ(text, "one\r");
}

TEST(CutLine, OfAnEmptyTextReturnsTheEnd) {
    char text[] = "\0\n";
    EXPECT_EQ(cut_line(text), text);
    EXPECT_EQ(text[1], '\n');
}

TEST(CutLine, WalksABufferLineByLine) {
    char text[] = "one\n\nthree\n";
    std::vector<std::string> lines;
    for (char* line = text; *line != '\0';) {
        char* rest = cut_line(line);
        lines.emplace_back(line);
        line = rest;
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "", "three"}));
}

TEST(ClearString, ChangesOnlyTheFirstByte) {
    char text[] = "abc";
    clear_string(text);
    EXPECT_EQ(std::string(text, sizeof text), "\0bc\0"s);
}

TEST(SkipPrefix, ReturnsWhatFollowsThePrefix) {
    const char* text = "ssl_enable=YES";
    EXPECT_EQ(skip_prefix(text, "ssl_enable="), text + 11);
}

TEST(SkipPrefix, IgnoresCase) {
    const char* text = "Enable";
    EXPECT_EQ(skip_prefix(text, "en"), text + 2);
    EXPECT_EQ(skip_prefix(text, "EN"), text + 2);
}

TEST(SkipPrefix, ATextShorterThanThePrefixDoesNotMatch) {
    EXPECT_EQ(skip_prefix("en", "enable"), nullptr);
    EXPECT_EQ(skip_prefix("", "enable"), nullptr);
}

TEST(SkipPrefix, ADifferentStartDoesNotMatch) {
    EXPECT_EQ(skip_prefix("disable", "en"), nullptr);
    EXPECT_EQ(skip_prefix("eXable", "ena"), nullptr);
}

TEST(SkipPrefix, TheWholeTextMayBeThePrefix) {
    EXPECT_STREQ(skip_prefix("enable", "ENABLE"), "");
}

TEST(SkipPrefix, TheEmptyPrefixAlwaysMatches) {
    const char* text = "Enable";
    EXPECT_EQ(skip_prefix(text, ""), text);
    const char* empty = "";
    EXPECT_EQ(skip_prefix(empty, ""), empty);
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

TEST(SkipSpace, FindsTheFirstCharacterThatIsNotWhiteSpace) {
    for (const Trimmed& row : kTrimmed) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        std::string text = row.text;
        EXPECT_STREQ(skip_space(text.data()), row.without_leading.c_str());
        EXPECT_EQ(text, row.text) << "the text must not change";
    }
}

TEST(TrimTrailingSpace, CutsWhiteSpaceOnlyAtTheEnd) {
    for (const Trimmed& row : kTrimmed) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        std::string text = row.text;
        trim_trailing_space(text.data());
        EXPECT_STREQ(text.c_str(), row.without_trailing.c_str());
    }
}

TEST(TrimTrailingSpace, LeavesTheBytesBeforeTheTextAlone) {
    char buffer[] = "  \0  ";
    trim_trailing_space(buffer + 3);
    EXPECT_EQ(std::string(buffer, 3), "  \0"s);
    EXPECT_EQ(buffer[3], '\0');
}

TEST(TrimSpace, CutsTheEndAndReturnsTheNewStart) {
    for (const Trimmed& row : kTrimmed) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        std::string text = row.text;
        const char* start = trim_space(text.data());
        EXPECT_STREQ(start, row.without_both.c_str());
        EXPECT_GE(start, text.data());
        EXPECT_LE(start, text.data() + text.size());
    }
}

TEST(StripLeadingSpace, MovesTheRestToTheStart) {
    for (const Trimmed& row : kTrimmed) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        std::string text = row.text;
        strip_leading_space(text.data());
        EXPECT_STREQ(text.c_str(), row.without_leading.c_str());
    }
}

TEST(AnyNonzero, LooksOnlyAtTheFirstBytes) {
    const unsigned char bytes[] = {0, 0, 0, 7, 0};
    EXPECT_FALSE(any_nonzero(bytes, 3));
    EXPECT_TRUE(any_nonzero(bytes, 4));
    EXPECT_TRUE(any_nonzero(bytes, 5));
    EXPECT_TRUE(any_nonzero(bytes + 3, 1));
    EXPECT_FALSE(any_nonzero(bytes + 4, 1));
}

TEST(AnyNonzero, NoBytesAreAllZero) {
    const unsigned char byte = 1;
    EXPECT_FALSE(any_nonzero(&byte, 0));
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

TEST(FormatSize, TruncatesToThreeDecimals) {
    for (const SizeText& size : kSizeTexts) {
        char buffer[kSizeTextBytes] = "unchanged";
        format_size(size.bytes, buffer);
        EXPECT_STREQ(buffer, size.text);
    }
}

TEST(FormatSize, FitsIntoItsBuffer) {
    for (const SizeText& size : kSizeTexts) {
        std::string buffer(kSizeTextBytes + 8, '#');
        format_size(size.bytes, buffer.data());
        EXPECT_EQ(buffer.substr(kSizeTextBytes), "########") << size.bytes;
    }
}

TEST(FormatSizeString, ReturnsTheTextOfFormatSize) {
    for (const SizeText& size : kSizeTexts)
        EXPECT_EQ(format_size_string(size.bytes), size.text);
}

// --- Descriptors ---

TEST(SetCloexec, ClosesTheDescriptorOnExec) {
    const int file = open("/dev/null", O_RDONLY);
    EXPECT_EQ(set_cloexec(file), 0);
    EXPECT_EQ(fcntl(file, F_GETFD), FD_CLOEXEC);
    close(file);
}

TEST(ClearCloexec, KeepsTheDescriptorOpenOnExec) {
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(clear_cloexec(file), 0);
    EXPECT_EQ(fcntl(file, F_GETFD), 0);
    close(file);
}

TEST(SetCloexec, ReportsAClosedDescriptor) {
    errno = 0;
    EXPECT_EQ(set_cloexec(-1), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST(ClearCloexec, ReportsAClosedDescriptor) {
    errno = 0;
    EXPECT_EQ(clear_cloexec(-1), -1);
    EXPECT_EQ(errno, EBADF);
}

// --- Files ---

struct SmallFile {
    int result;
    std::string buffer;  // all of its 16 bytes
};

SmallFile ReadSmallFile(const std::string& path, size_t n) {
    std::string buffer(16, '#');
    const int result = read_small_file(path.c_str(), buffer.data(), n);
    return {result, buffer};
}

TEST(ReadSmallFile, ReadsAllOfASmallFile) {
    const TemporaryFolder folder;
    const SmallFile read = ReadSmallFile(folder.File("hostname", "tavrin\n"), 16);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.buffer, "tavrin\n\0########"s);
}

TEST(ReadSmallFile, LeavesRoomForTheNul) {
    const TemporaryFolder folder;
    const std::string file = folder.File("digits", "0123456789");
    EXPECT_EQ(ReadSmallFile(file, 5).buffer, "0123\0###########"s);
    EXPECT_EQ(ReadSmallFile(file, 10).buffer, "012345678\0######"s);
    EXPECT_EQ(ReadSmallFile(file, 11).buffer, "0123456789\0#####"s);
}

TEST(ReadSmallFile, ABufferOfOneByteHoldsOnlyTheNul) {
    const TemporaryFolder folder;
    const SmallFile read = ReadSmallFile(folder.File("digits", "0123456789"), 1);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.buffer, "\0###############"s);
}

TEST(ReadSmallFile, StoresNothingInAnEmptyBuffer) {
    const TemporaryFolder folder;
    const SmallFile read = ReadSmallFile(folder.File("digits", "0123456789"), 0);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.buffer, "################");
    EXPECT_EQ(ReadSmallFile(folder.Path("missing"), 0).result, -1);
}

TEST(ReadSmallFile, AnEmptyFileGivesAnEmptyText) {
    const TemporaryFolder folder;
    const SmallFile read = ReadSmallFile(folder.File("empty", ""), 16);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.buffer, "\0###############"s);
}

TEST(ReadSmallFile, AMissingFileLeavesTheBufferUnchanged) {
    const TemporaryFolder folder;
    const SmallFile read = ReadSmallFile(folder.Path("missing"), 16);
    EXPECT_EQ(read.result, -1);
    EXPECT_EQ(read.buffer, "################");
}

TEST(ReadSmallFile, AFailedReadGivesAnEmptyText) {
    const TemporaryFolder folder;  // a folder can be opened, but not read
    const SmallFile read = ReadSmallFile(folder.path, 16);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.buffer, "\0###############"s);
}

TEST(ReadSmallFile, ReadsOnlyOnce) {
    Pipe packets(O_DIRECT);
    packets.Write("one");
    packets.Write("two");
    packets.CloseWriter();
    const SmallFile read = ReadSmallFile(packets.ReaderPath(), 16);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.buffer, "one\0############"s);
}

size_t OpenDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(descriptors), end(descriptors)));
}

TEST(ReadSmallFile, ClosesTheFile) {
    const TemporaryFolder folder;
    const size_t before = OpenDescriptors();
    EXPECT_EQ(ReadSmallFile(folder.File("hostname", "tavrin\n"), 16).result, 0);
    EXPECT_EQ(ReadSmallFile(folder.path, 16).result, 0);
    EXPECT_EQ(OpenDescriptors(), before);
}

// The mode of a new file, given this umask.
mode_t ModeWithUmask(mode_t mask) {
    const TemporaryFolder folder;
    const std::string file = folder.Path("new");
    const mode_t before = umask(mask);
    EXPECT_EQ(write_small_file(file.c_str(), "text"), 0);
    umask(before);
    struct stat status = {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST(WriteSmallFile, WritesOnlyTheText) {
    const TemporaryFolder folder;
    const std::string file = folder.Path("hostname");
    EXPECT_EQ(write_small_file(file.c_str(), "tavrin"), 0);
    EXPECT_EQ(ContentOf(file), "tavrin");
}

TEST(WriteSmallFile, ANewFileHasMode0644) {
    EXPECT_EQ(ModeWithUmask(0), 0644U);
    EXPECT_EQ(ModeWithUmask(077), 0600U);
}

TEST(WriteSmallFile, ReplacesLongerContent) {
    const TemporaryFolder folder;
    const std::string file = folder.File("hostname", "a-much-longer-name\n");
    EXPECT_EQ(write_small_file(file.c_str(), "tavrin"), 0);
    EXPECT_EQ(ContentOf(file), "tavrin");
}

TEST(WriteSmallFile, KeepsTheModeOfAnExistingFile) {
    const TemporaryFolder folder;
    const std::string file = folder.File("secret", "old");
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(write_small_file(file.c_str(), "new"), 0);
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(WriteSmallFile, AnEmptyTextMakesAnEmptyFile) {
    const TemporaryFolder folder;
    const std::string file = folder.File("marker", "old");
    EXPECT_EQ(write_small_file(file.c_str(), ""), 0);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_EQ(ContentOf(file), "");
}

TEST(WriteSmallFile, ReportsAFileThatCannotBeOpened) {
    const TemporaryFolder folder;
    EXPECT_EQ(write_small_file(folder.path.c_str(), "text"), -1);
    EXPECT_EQ(write_small_file(folder.Path("missing/file").c_str(), "text"), -1);
}

TEST(WriteSmallFile, DoesNotReportAFailedWrite) {
    EXPECT_EQ(write_small_file("/dev/full", "text"), 0);
}

TEST(WriteSmallFile, ClosesTheFile) {
    const TemporaryFolder folder;
    const size_t before = OpenDescriptors();
    EXPECT_EQ(write_small_file(folder.Path("hostname").c_str(), "tavrin"), 0);
    EXPECT_EQ(OpenDescriptors(), before);
}

std::string FileLine(const std::string& content) {
    const TemporaryFolder folder;
    return read_file_line(folder.File("file", content).c_str());
}

TEST(ReadFileLine, CutsTheLineEnd) {
    EXPECT_EQ(FileLine("tavrin\n"), "tavrin");
    EXPECT_EQ(FileLine("tavrin\r\n\n"), "tavrin");
    EXPECT_EQ(FileLine("tavrin"), "tavrin");
}

TEST(ReadFileLine, ReturnsAllLinesTogether) {
    EXPECT_EQ(FileLine("one\r\n\ntwo\n"), "one\r\n\ntwo");
}

TEST(ReadFileLine, EndsAtANulByte) {
    EXPECT_EQ(FileLine("one\n\0two\n"s), "one");
}

TEST(ReadFileLine, ReadsAtMost1023Bytes) {
    EXPECT_EQ(FileLine(std::string(1023, 'x')), std::string(1023, 'x'));
    EXPECT_EQ(FileLine(std::string(1022, 'x') + "yz\n"), std::string(1022, 'x') + "y");
    EXPECT_EQ(FileLine(std::string(1022, 'x') + "\nz"), std::string(1022, 'x'));
}

TEST(ReadFileLine, IsEmptyIfTheFileCannotBeRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(read_file_line(folder.Path("missing").c_str()), "");
    EXPECT_EQ(read_file_line(folder.path.c_str()), "");
}

// --- Processes ---

// A name that no other process on this machine has.
std::string OwnName(const std::string& name) {
    return name + std::to_string(getpid());
}

TEST(FindProcessByName, FindsAProgramStartedByItsPath) {
    const std::string crond = OwnName("crond");
    const RunningProcess process({"/usr/sbin/" + crond});
    EXPECT_EQ(find_process_by_name(crond.c_str()), process.pid);
}

TEST(FindProcessByName, FindsAProgramStartedByItsName) {
    const std::string crond = OwnName("crond");
    const RunningProcess process({crond});
    EXPECT_EQ(find_process_by_name(crond.c_str()), process.pid);
}

TEST(FindProcessByName, TheWholeNameMustMatch) {
    const std::string crond = OwnName("crond");
    const RunningProcess wrapper({"/usr/sbin/" + crond + "-wrapper"});
    const RunningProcess rewritten({crond + ": master"});
    const RunningProcess prefixed({"/usr/sbin/my" + crond});
    EXPECT_EQ(find_process_by_name(crond.c_str()), 0);
}

TEST(FindProcessByName, CaseMatters) {
    const std::string crond = OwnName("crond");
    const RunningProcess process({OwnName("Crond")});
    EXPECT_EQ(find_process_by_name(crond.c_str()), 0);
}

TEST(FindProcessByName, TheArgumentsDoNotCount) {
    const std::string crond = OwnName("crond");
    const std::string other = OwnName("other");
    const TemporaryFolder folder;
    const RunningProcess process({"/usr/sbin/" + crond, "-", folder.File(other, "")});
    EXPECT_EQ(find_process_by_name(crond.c_str()), process.pid);
    EXPECT_EQ(find_process_by_name(other.c_str()), 0);
}

TEST(FindProcessByName, TheProgramFileDoesNotCount) {
    const std::string crond = OwnName("crond");
    const RunningProcess process({crond});  // its program file is cat's
    const int found = find_process_by_name("cat");
    EXPECT_NE(found, process.pid);
}

TEST(FindProcessByName, TheFolderIsNotPartOfTheName) {
    const std::string sbin = OwnName("sbin");
    const std::string crond = OwnName("crond");
    const RunningProcess in_folder({"/usr/" + sbin + "/" + crond});
    const RunningProcess folder_alone({"/usr/" + sbin + "/"});
    EXPECT_EQ(find_process_by_name(sbin.c_str()), 0);
    EXPECT_EQ(find_process_by_name((sbin + "/" + crond).c_str()), 0);
}

TEST(FindProcessByName, SeveralSlashesCountAsOne) {
    const std::string crond = OwnName("crond");
    const RunningProcess process({"/usr/sbin///" + crond});
    EXPECT_EQ(find_process_by_name(crond.c_str()), process.pid);
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

TEST(FindProcessByName, WithoutProcFindsNothing) {
    const TemporaryFolder root;
    const Answer answer = FindProcessBelow(root, "crond");
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 0);
}

TEST(FindProcessByName, OnlyNumbersAboveZeroAreProcesses) {
    const TemporaryFolder root;
    for (const char* folder : {"0", "-5", ".7", "self"}) {
        root.File("proc/"s + folder + "/cmdline", "crond\0"s);
    }
    root.File("proc/version", "crond\0"s);
    const Answer answer = FindProcessBelow(root, "crond");
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 0);
}

TEST(FindProcessByName, SkipsAProcessWithUnreadableArguments) {
    const TemporaryFolder root;
    for (int pid = 1; pid < 40; ++pid)
        root.File("proc/" + std::to_string(pid) + "/stat", "");
    root.File("proc/40/cmdline", "/usr/sbin/crond\0-n\0"s);
    for (int pid = 41; pid < 80; ++pid)
        root.File("proc/" + std::to_string(pid) + "/stat", "");
    const Answer answer = FindProcessBelow(root, "crond");
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 40);
    EXPECT_EQ(FindProcessBelow(root, "").value, 0);
}

TEST(FindProcessByName, AKernelThreadHasNoName) {
    const TemporaryFolder root;
    root.File("proc/2/cmdline", "");
    root.File("proc/2/comm", "kthreadd\n");
    const Answer named = FindProcessBelow(root, "kthreadd");
    SKIP_WHERE_REFUSED(named);
    EXPECT_EQ(named.value, 0);
    EXPECT_EQ(FindProcessBelow(root, "").value, 2);
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
    const int status = RunScript("exit 7");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(RunScript("exit 0"), 0);
}

TEST(RunAndWait, ReportsTheSignalThatEndedTheProgram) {
    const int status = RunScript("kill -TERM $$");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(RunAndWait, PassesTheArgumentsUnchanged) {
    const TemporaryFolder folder;
    const std::string file = folder.Path("two words; $HOME");
    EXPECT_EQ(RunScript("printf %s \"$0 $#\" > \"$1\"", file), 0);
    EXPECT_EQ(ContentOf(file), "script 1");
}

TEST(RunAndWait, AProgramThatCannotBeRunExitsWithOne) {
    char missing[] = "/nonexistent/program";
    char* const arguments[] = {missing, nullptr};
    const int status = run_and_wait(nullptr, arguments);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST(RunAndWait, DoesNotSearchThePathForTheProgram) {
    char shell[] = "sh";
    char flag[] = "-c";
    char script[] = "exit 0";
    char* const arguments[] = {shell, flag, script, nullptr};
    const int status = run_and_wait(nullptr, arguments);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST(RunAndWait, IgnoresTheContext) {
    char program[] = "/bin/true";
    char* const arguments[] = {program, nullptr};
    const char* other_program = "/bin/false";
    EXPECT_EQ(run_and_wait(nullptr, arguments), 0);
    EXPECT_EQ(run_and_wait(other_program, arguments), 0);
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
    const Answer answer = AnswerInChild([] { return Prepared::kYes; },
                                        [&] {
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

TEST(FindEthIpv4, ReturnsAndPrintsTheAddress) {
    const Answer answer = FindIn({{"eth0", "192.0.2.17"}});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, htonl(0xC0000211));
    EXPECT_EQ(answer.output, "Found: 192.0.2.17\n");
}

TEST(FindEthIpv4, TheLowestNumberWithAnAddressWins) {
    const Answer answer = FindIn({{"eth5", "192.0.2.5"}, {"eth3", "192.0.2.3"}, {"eth1", nullptr}});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, htonl(0xC0000203));
    EXPECT_EQ(answer.output, "Found: 192.0.2.3\n");
}

TEST(FindEthIpv4, QueriesUpToEth8) {
    const Answer eighth = FindIn({{"eth8", "192.0.2.8"}});
    SKIP_WHERE_REFUSED(eighth);
    EXPECT_EQ(eighth.output, "Found: 192.0.2.8\n");
    const Answer beyond = FindIn({{"eth9", "192.0.2.9"}, {"eth10", "192.0.2.10"}});
    EXPECT_EQ(beyond.value, 0);
    EXPECT_EQ(beyond.output, "");
}

TEST(FindEthIpv4, AnInterfaceWithAddressZeroHasNone) {
    const Answer answer = FindIn({{"eth0", "0.0.0.0"}, {"eth1", "192.0.2.1"}});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output, "Found: 192.0.2.1\n");
}

TEST(FindEthIpv4, QueriesNoOtherInterfaces) {
    const Answer answer = FindIn({{"wlan0", "192.0.2.1"}, {"eth", "192.0.2.2"}});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 0);
    EXPECT_EQ(answer.output, "");
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

TEST(FindEthIpv4, AnAddressOfZeroDoesNotCount) {
    const Answer answer = FindAmongPretended({{"eth2", "0.0.0.0"}, {"eth4", "192.0.2.4"}});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, htonl(0xC0000204));
    EXPECT_EQ(answer.output, "Found: 192.0.2.4\n");
}

TEST(FindEthIpv4, AnAddressOfAnotherFamilyDoesNotCount) {
    const Answer answer =
        FindAmongPretended({{"eth0", "192.0.2.99", AF_PACKET}, {"eth1", "192.0.2.1"}});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output, "Found: 192.0.2.1\n");
}

}  // namespace
