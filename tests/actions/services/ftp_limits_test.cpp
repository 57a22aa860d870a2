// SPDX-License-Identifier: MIT
// The limits of the FTP server: reading them, rewriting them.
#include "fixtures/status_root.h"
#include "zav/ftp_limits.h"

#include <csignal>
#include <tuple>

namespace zav::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char vsftpd_conf[] = "/etc/vsftpd.conf";
const std::string save = "/usr/local/bin/xconf -s /etc/vsftpd.conf > /dev/null 2>> /dev/null";
const std::string move = "mv /tmp/vsftpd.XXXXXX /etc/vsftpd.conf > /dev/null 2>> /dev/null";

class FtpLimits : public testing::Test {
  protected:
    FtpLimits() {
        root.tool("/bin/mv").any().does("mv \"$1\" \"$2\"").as_default();
        root.tool("/usr/local/bin/xconf").any().as_default();
        root.tool("/usr/local/bin/nasconf").any().as_default();
    }
    // The limits in a configuration; missing ones stay 7, 8, 9.
    std::string get(const std::string& configuration) {
        root.file(vsftpd_conf, configuration);
        const Result result = root.call([] {
            unsigned long rate = 7;
            unsigned long clients = 8;
            unsigned long per_address = 9;
            const int code = ftp_limits_get(&rate, &clients, &per_address);
            std::printf("%lu %lu %lu", rate, clients, per_address);
            return code;
        });
        EXPECT_EQ(result.returned, 0);
        EXPECT_THAT(result.commands, IsEmpty());
        return result.out;
    }
    // Sets the limits to 1, 2, 3 and returns the code.
    int set(const RunOptions& options = {}) {
        run = root.call([] { return ftp_limits_set(1, 2, 3); }, options);
        EXPECT_THAT(root.tmp(), IsEmpty());
        return run.returned;
    }
    // The configuration after setting the limits.
    std::string rewritten(const std::string& configuration) {
        root.file(vsftpd_conf, configuration);
        EXPECT_EQ(set(), 0);
        return root.read(vsftpd_conf);
    }
    StatusRoot root{"KOR7206H"};
    Result run;
};

TEST_F(FtpLimits, AreRead) {
    EXPECT_EQ(get("local_max_rate=102400\nmax_clients=30\nmax_per_ip=4\n"), "102400 30 4");
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(FtpLimits, AreReadInAnyOrderAmongOtherLines) {
    EXPECT_EQ(
        get("listen=YES\n\n  max_per_ip=4  \r\nbanner=a=b\n\tlocal_max_rate=5\nmax_clients=6"),
        "5 6 4");
}

TEST_F(FtpLimits, ThatAreMissingStayAsTheyAre) {
    EXPECT_EQ(get("max_clients=30\n"), "7 30 9");
    EXPECT_EQ(get(""), "7 8 9");
}

TEST_F(FtpLimits, OfACommentAreNone) {
    EXPECT_EQ(get("#local_max_rate=1\n # max_clients=2\n"), "7 8 9");
}

TEST_F(FtpLimits, HaveExactKeys) {
    EXPECT_EQ(get("local_max_rat=1\nlocal_max_rates=1\nLOCAL_MAX_RATE=1\nmax_clients =1\n"
                  "anon_max_rate=1\nmax_per_ip\n"),
              "7 8 9");
}

TEST_F(FtpLimits, AreUnsignedNumbersUpToTheFirstOtherCharacter) {
    EXPECT_EQ(get("local_max_rate= 12x\nmax_clients=\nmax_per_ip=4=5\n"), "12 0 4");
    EXPECT_EQ(get("local_max_rate=18446744073709551615\n"), "18446744073709551615 8 9");
}

TEST_F(FtpLimits, GivenTwiceAreTheLast) {
    EXPECT_EQ(get("max_clients=1\nmax_clients=2\n"), "7 2 9");
}

TEST_F(FtpLimits, MayBeAskedForOneByOne) {
    root.file(vsftpd_conf, "local_max_rate=1\nmax_clients=2\nmax_per_ip=3\n");
    const Result result = root.call([] {
        unsigned long clients = 0;
        EXPECT_EQ(ftp_limits_get(nullptr, &clients, nullptr), 0);
        EXPECT_EQ(ftp_limits_get(nullptr, nullptr, nullptr), 0);
        return static_cast<int>(clients);
    });
    EXPECT_EQ(result.returned, 2);
}

TEST_F(FtpLimits, NeedAConfiguration) {
    const Result result = root.call([] {
        unsigned long rate = 7;
        EXPECT_EQ(ftp_limits_get(&rate, &rate, &rate), -1063);
        return static_cast<int>(rate);
    });
    EXPECT_EQ(result.returned, 7);
    EXPECT_EQ(set(), -1063);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("ftp_limits_get", -1063, "No such file or directory"),
                            failure_line("ftp_limits_set", -1063, "No such file or directory")));
    EXPECT_FALSE(root.exists(vsftpd_conf));
}

TEST_F(FtpLimits, AreRewrittenInPlace) {
    EXPECT_EQ(rewritten("listen=YES\nlocal_max_rate=9\nmax_per_ip=9\nbanner=a=b\nmax_clients=9\n"),
              "listen=YES\nlocal_max_rate=1\nmax_per_ip=3\nbanner=a=b\nmax_clients=2\n");
    EXPECT_THAT(run.commands_with_templates(), ElementsAre(move, save));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(FtpLimits, ThatAreMissingAreNotAdded) {
    EXPECT_EQ(rewritten("local_max_rate=9\nmax_clients=9\n"), "local_max_rate=1\nmax_clients=2\n");
    EXPECT_EQ(rewritten("listen=YES\n"), "listen=YES\n");
    EXPECT_EQ(rewritten(""), "");
}

TEST_F(FtpLimits, AreRewrittenWithoutCommentsAndEmptyLines) {
    EXPECT_EQ(rewritten("# defaults\n\n  \n  #x\n\tlisten=YES  \r\nmax_clients=9"),
              "listen=YES\nmax_clients=2\n");
}

TEST_F(FtpLimits, AreRewrittenWithExactKeysOnly) {
    const std::string others = "max_client=9\nmax_clients =9\nMax_per_ip=9\nanon_max_rate=9\n";
    EXPECT_EQ(rewritten(others), others);
    EXPECT_EQ(rewritten("max_clients\nmax_per_ip=\n"), "max_clients=2\nmax_per_ip=3\n");
}

TEST_F(FtpLimits, MayBeNoLimitOrTheLargest) {
    root.file(vsftpd_conf, "local_max_rate=1\nmax_clients=1\nmax_per_ip=1\n");
    root.call([] { return ftp_limits_set(1, 0, 2147483647); });
    EXPECT_EQ(root.read(vsftpd_conf), "local_max_rate=1\nmax_clients=0\nmax_per_ip=2147483647\n");
}

// The server reads a negative limit as none at all.
TEST_F(FtpLimits, AreNeverNegative) {
    const std::string before = "local_max_rate=1\nmax_clients=1\nmax_per_ip=1\n";
    root.file(vsftpd_conf, before);
    for (const auto& [rate, clients, per_address] :
         {std::tuple(-5, 2, 3), std::tuple(1, -1, 3), std::tuple(1, 2, -2147483647)}) {
        const Result result = root.call([rate = rate, clients = clients, per = per_address] {
            return ftp_limits_set(rate, clients, per);
        });
        EXPECT_EQ(result.returned, -1);
        EXPECT_THAT(result.commands, IsEmpty());
        EXPECT_EQ(root.read(vsftpd_conf), before);
    }
    EXPECT_THAT(root.log_texts(),
                testing::Each(failure_line("ftp_limits_set", -1, "Invalid argument")));
    EXPECT_EQ(root.log_texts().size(), 3U);
}

TEST_F(FtpLimits, KeepTheModeOfTheFile) {
    root.file(vsftpd_conf, "max_clients=9\n", 0640);
    EXPECT_EQ(set(), 0);
    EXPECT_EQ(root.mode(vsftpd_conf), 0640U);
}

TEST_F(FtpLimits, AreSavedByTheToolOfTheModel) {
    root.model("VEL7205P").file(vsftpd_conf, "max_clients=9\n");
    EXPECT_EQ(set(), 0);
    EXPECT_THAT(run.commands_with_templates(),
                ElementsAre(move, "/usr/local/bin/nasconf -s /etc/vsftpd.conf > /dev/null "
                                  "2>> /dev/null"));
}

TEST_F(FtpLimits, AreSavedEvenWhenTheyCannotBeMovedIntoPlace) {
    const auto logged = [](const std::string& end) {
        return AllOf(
            StartsWith("system(\"mv /tmp/vsftpd."),
            testing::HasSubstr(" /etc/vsftpd.conf > /dev/null\") return " + end + " for '"),
            EndsWith("'"));
    };
    root.file(vsftpd_conf, "max_clients=9\n");
    root.tool("/bin/mv").any().exits(1);
    EXPECT_EQ(set(), -11000);
    EXPECT_THAT(run.commands_with_templates(), ElementsAre(move, save));
    root.tool("/bin/mv").any().killed_by(SIGKILL);
    EXPECT_EQ(set(), -11000);
    root.remove("/bin/mv");
    EXPECT_EQ(set(), -11000);
    EXPECT_EQ(root.read(vsftpd_conf), "max_clients=9\n");
    EXPECT_THAT(root.log_texts(),
                ElementsAre(logged("normal with exit(1)"), logged("unnormal with exit(0)"),
                            logged("normal with exit(127)")));
}

TEST_F(FtpLimits, AreSetEvenIfTheyCannotBeSaved) {
    root.file(vsftpd_conf, "max_clients=9\n");
    root.tool("/usr/local/bin/xconf").any().exits(1);
    EXPECT_EQ(set(), 0);
    root.remove("/etc/sys_info");
    EXPECT_EQ(set(), 0);
}

TEST_F(FtpLimits, AreNotMovedIntoPlaceWhenTheyCannotBeWritten) {
    root.file(vsftpd_conf, "max_clients=9\n").file("/var/log/log.libzav", "");
    EXPECT_EQ(set({.limits = {{RLIMIT_FSIZE, 0}}, .ignored_signals = {SIGXFSZ}}), -1067);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(root.read(vsftpd_conf), "max_clients=9\n");
}

TEST_F(FtpLimits, NeedAPlaceForTheNewFile) {
    root.file(vsftpd_conf, "max_clients=9\n").read_only("/tmp");
    EXPECT_EQ(set(), -1067);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("ftp_limits_set", -1067, ".*")));
}

} // namespace
} // namespace zav::test
