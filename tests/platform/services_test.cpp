// SPDX-License-Identifier: MIT
// The table of services: names, and what follows from a row.
#include "fixtures/library.h"
#include "platform/services.h"

#include <gmock/gmock.h>
#include <set>
#include <string>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;

TEST(Services, AreFoundByTheirNamesInWhateverCase) {
    EXPECT_EQ(find_service("samba")->name, "samba");
    EXPECT_EQ(find_service("Samba")->name, "samba");
    EXPECT_EQ(find_service("NFS")->name, "nfs");
    EXPECT_EQ(find_service("Ftp")->name, "ftp");
    EXPECT_EQ(find_service("iSCSI")->name, "iscsi");
}

TEST(Services, AreFoundByAnAliasWhereItIsAMode) {
    for (const char* mode : {"samba", "Samba", "CIFS", "cifs"}) {
        ASSERT_NE(find_service_of_mode(mode), nullptr) << mode;
        EXPECT_EQ(find_service_of_mode(mode)->name, "samba") << mode;
    }
    EXPECT_EQ(find_service_of_mode("nfs")->name, "nfs");
    EXPECT_EQ(find_service_of_mode(""), nullptr);
    EXPECT_EQ(find_service("cifs"), nullptr);
}

TEST(Services, AreNotFoundByAnythingElse) {
    for (const char* name : {"", "smb", "samba ", "samba,nfs", "cif"}) {
        EXPECT_EQ(find_service(name), nullptr) << name;
    }
}

TEST(Services, AreTheKeysOfTheRegister) {
    std::vector<std::string> keys;
    for (const RegisterService& service : register_services()) {
        keys.push_back(std::string(service.key) + " " + std::string(service.shown));
    }
    EXPECT_THAT(keys, ElementsAre("samba samba", "nfs nfs", "ftp ftp", "iscsi iSCSI"));
}

TEST(Services, HaveTheirFiles) {
    std::vector<std::string> files;
    for (const Service& service : services()) {
        const auto path = [](const ShareFile* file) {
            return std::string(file != nullptr && file->path != nullptr ? file->path : "none");
        };
        files.push_back(path(&service.live) + " " + path(service.recycled));
    }
    EXPECT_THAT(files,
                ElementsAre("/etc/samba/smb.conf /etc/samba/smb_recy.conf",
                            "/etc/exports /etc/exports_recy", "none none", "/etc/ietd.conf none"));
}

// What a file needs to be read and written; a service without one has neither.
TEST(Services, ReadAndWriteEveryFileThatTheyHave) {
    for (const Service& service : services()) {
        for (const ShareFile* file : {&service.live, service.recycled}) {
            if (file == nullptr) {
                continue;
            }
            const bool has_file = file->path != nullptr;
            EXPECT_EQ(file->item != nullptr, has_file) << service.name;
            EXPECT_EQ(file->parse != nullptr, has_file) << service.name;
            EXPECT_EQ(file->lines != nullptr, has_file) << service.name;
        }
    }
}

TEST(Services, DoNotShareANameAFileOrAScript) {
    std::set<std::string_view> names;
    std::set<std::string_view> paths;
    std::set<std::string_view> scripts;
    for (const Service& service : services()) {
        EXPECT_TRUE(names.insert(service.name).second) << service.name;
        EXPECT_TRUE(scripts.insert(service.script).second) << service.script;
        for (const ShareFile* file : {&service.live, service.recycled}) {
            if (file != nullptr && file->path != nullptr) {
                EXPECT_TRUE(paths.insert(file->path).second) << file->path;
            }
        }
    }
}

TEST(Services, OneOffersDevicesAndOneHasAnAccountOfItsOwn) {
    share_info share;
    for (const Service& service : services()) {
        share.type = service.name;
        EXPECT_EQ(is_on_device(share), service.name == "iscsi") << service.name;
        EXPECT_EQ(has_file_system(service), service.name != "iscsi") << service.name;
        EXPECT_EQ(has_ftp_account(share), service.name == "ftp") << service.name;
    }
    share.type.clear();
    EXPECT_FALSE(is_on_device(share)) << "forbidden";
    EXPECT_FALSE(has_ftp_account(share)) << "forbidden";
}

} // namespace
} // namespace zav::test
