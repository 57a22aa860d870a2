// SPDX-License-Identifier: MIT
// The options and the usage of every applet, in the order of the applet table. The usage texts are
// what the front end's documentation quotes: their misspellings, swapped lines and uneven blanks
// stay.
#include "applets/applet_texts.h"

namespace zav {

namespace {

constexpr option end_of_options = {nullptr, 0, nullptr, 0};

constexpr option long_option(const char* name, char letter) {
    return {name, no_argument, nullptr, letter};
}

constexpr option diskmanage_options[] = {long_option("init", 'I'), long_option("display", 'S'),
                                         long_option("hotspare", 'H'), end_of_options};

constexpr option disksmart_options[] = {long_option("display", 'S'), long_option("detail", 'e'),
                                        end_of_options};

constexpr option repairing_options[] = {long_option("create", 'C'), long_option("display", 'S'),
                                        long_option("delete", 'D'), long_option("repair", 'R'),
                                        end_of_options};

constexpr option creating_options[] = {long_option("create", 'C'), long_option("display", 'S'),
                                       long_option("delete", 'D'), end_of_options};

constexpr option mdmanage_options[] = {long_option("create", 'C'),  long_option("display", 'S'),
                                       long_option("delete", 'D'),  long_option("recover", 'R'),
                                       long_option("fg-init", 'g'), end_of_options};

constexpr option sharemanage_options[] = {long_option("create", 'C'),
                                          long_option("display", 'S'),
                                          long_option("delete", 'D'),
                                          long_option("edit", 'E'),
                                          long_option("repair", 'R'),
                                          long_option("restore", 'Q'),
                                          end_of_options};

constexpr AppletText texts[] = {
    {{"ISHa:n:r:d:", "S:H:I:S--HI:H--SI:I--SH:H?ar:a--r", diskmanage_options},
     "\n--display\t\t display all disks info\n"
     "--display -n channel -d dev\t\tdisplay a single disk info under channel\n"
     "--hotspare -a channel -d dev\t\t create a hotspare disk with channel\n"
     "--hotspare -r channel -d dev\t\tremove the hotapare disk under channel\n"
     "--init -n channel -d dev\t\tinitialize the disk undere channel\n"
     "\nmanage the disk info\nOptions:\n"
     " -d\t\tspecify a device\n"
     " -n\t\tspecify a channel\n"
     " -a\t\tcreate a hotspare disk\n"
     " -r\t\tremove a hotspare disk"},
    {{"Sen:d:", "S:", disksmart_options},
     "\n--display\t\tdisplay all smart info\n"
     "--display -n channel -d dev\t\tdisplay the smart info under channel\n"
     "--display --detail -n channel -d dev\t\tdisplay the verbose smart info under channel\n"
     "\nmanage the smart info\nOptions:\n"
     " -d\t\tspecify a dev\n"
     " -n\t\tspecify a channel"},
    {{"CSDRn:s:g:", "C:S:D:R:C--SDR:S--CDR:D--SCR:R--CSD", repairing_options},
     "\n--display\t\tdisplay all file system info\n"
     "--repair -n lvname -g vgname\t\trepair file system\n"
     "--create -n lvname -s size -g vgname\t\tcreate file system\n"
     "--delete -n lvname -g vgname\t\tcreate file system\n"
     "\nmanage the file system info\nOptions:\n"
     " -n\t\tspecify a name of logical volume\n"
     " -s\t\tspecify the size of logical volume\n"
     " -g\t\tspecify the name of volume group"},
    {{"CSDn:L:", "C:S:D:C--SD:S--CD:D--SC", creating_options},
     "\n--display\t\tdisplay all lv info\n"
     "--display -n lvname(path)\t\tdisplay the lv info specified by 'lvname'\n"
     "--delete -n lvname vgname\t\tdelete the lv specified by 'lvname' on 'vgname'\n"
     "--create -L lvsize -n lvname vgname\t\tcreate a lv with 'lvname' and 'lvsize' on vgname\n"
     "\nmanage the lv info\nOptions:\n"
     " -n\t\tspecify lvname\n"
     " -L\t\tspecify lvsize"},
    {{"CSDRgn:l:d:a:r:", "C:S:D:R:a:r:C--SDR:S--CDR:D--SCR:R--CSD:a--r", mdmanage_options},
     "\n--display\t\tdisplay all raid info\n"
     "--display -n raidname\t\tdisplay a raid info specified by 'raidname'\n"
     "-a channel raidname\t\tremove disk with 'channel' form the raid 'raidname'\n"
     "-r channel raidname\t\tadd disk with 'channel' to the raid 'raidname'\n"
     "--delete -n raidname\t\tdelete a raid specified by 'raidname'\n"
     "--recover -n raidname\t\trecover the raid in state of 'NOT START'\n"
     "--create [--fg-init] -n raidname -l raidlevel -d dev channels\t\tcreate a raid with "
     "'raidname' 'raidlevel' and 'channels' in 'device'\n"
     "\nmanage the raid info\nOptions:\n"
     " -d\t\tspecify a device\n"
     " -n\t\tspecify raidname\n"
     " -l\t\tspecify raidlevel\n"
     " -c\t\tspecify strip size\n"
     " --fg-init\t\tintialize raid\n"
     " -r\t\tremove disk to raid\n"
     " -a\t\tadd disk to raid"},
    {{"CSDRn:g:", "C:S:D:R:C--SDR:S--CDR:D--SCR:R--CSD", repairing_options},
     "\n--display\t\tdisplay all net file system info\n"
     "--repair -n label\t\trepair file system\n"
     "--create -n label -g device\t\tcreate file system\n"
     "--delete -n label\t\tdelete file system\n"
     "\nmanage the net file system info\nOptions:\n"
     " -n\t\tspecify a label\n"
     " -g\t\tspecify the name of device"},
    {{"CSDERQn:f:s:u:x:c:b:", "C:S:D:E:R:Q:C--SDREQ:S--CDREQ:D--SCREQ:E--CSDRQ:R--CSDEQ:Q--CSDER",
      sharemanage_options},
     "\n--display\t\tdisplay all share conf info\n"
     "--display -n sharename\t\tdisplay share conf info specified by 'sharename'\n"
     "--delete -n sharename\t\tdelete a share specified by 'sharename'\n"
     "--repair -n sharename -f flag vgname\t\t repair the share file system\n"
     "--create -n sharename -f flag -s size [-u user] [-x ro/rw] [-c commnet] vgname\t\tcreate a "
     "share with 'sharename' 'flag' 'user' and 'size' on 'vgname'\n"
     "--edit -n sharename -f flag [-s size] [-u user] [-x ro/rw] [-c comment] -b 0/1\t\t edit the "
     "share 'sharename'\n"
     "--restore -n sharename -f flag -s size [-u user] [-x ro/rw] [-c comment] vgname\t\t restore "
     "the share 'sharename'\n"
     "\nmanage share conf info\nOptions:\n"
     " -n\t\tspecify a sharename\n"
     " -f\t\tspecify share mode\n"
     " -s\t\tspecify size\n"
     " -u\t\tspecify user\n"
     " -x\t\tspecify access\n"
     " -c\t\tspecify comment\n"
     " -b\t\tspecify share state"},
    {{"CSDn:c:d:", "C:S:D:C--SD:S--CD:D--SC", creating_options},
     "\n--display\t\tdisplay all vg info\n"
     "--display -n vgname\t\tdisplay a vg info specified by 'vgname'\n"
     "--create -c pvname(channel or md?) -n vgname -d dev\t\tcreate a vg with 'vgname' on "
     "'pvname'\n"
     "--delete -n vgname\t\tdelete a vg specified by 'vgname'\n"
     "\nmanage the vg info\nOptions:\n"
     " -d\t\tspecify device\n"
     " -n\t\tspecify vgname\n"
     " -c\t\tspecify pvname"},
};

} // namespace

std::span<const AppletText> applet_texts() {
    return texts;
}

} // namespace zav
