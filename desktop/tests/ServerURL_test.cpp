#include "desktop/platform/linux/ServerURL.h"

#include <gtest/gtest.h>

namespace {

TEST(ServerURL, FollowsFromTypeAndSource)
{
    struct
    {
        char const* mType;
        char const* mSource;
        char const* mOptions;
        char const* mURL;
    } const kCases[] = {
        {"nfs", "host:/p", "rw", "nfs://host/p"},
        {"nfs4", "host:/p", "rw,addr=10.0.0.1", "nfs://host/p"},
        {"nfs", "host:/", "rw", "nfs://host/"},
        {"nfs", "host:", "rw", "nfs://host/"},
        {"nfs", "host:p", "rw", "nfs://host/p"},
        {"nfs", "10.0.0.1:/a/b", "rw", "nfs://10.0.0.1/a/b"},
        {"nfs4", "[fe80::1]:/p", "rw", "nfs://[fe80::1]/p"},
        {"nfs4", "[fe80::1%eth0]:/p", "rw", "nfs://[fe80::1%25eth0]/p"},
        {"nfs", "host:/my share", "rw", "nfs://host/my%20share"},
        {"nfs", "host:/a:b", "rw", "nfs://host/a:b"},
        {"nfs", "host:/a[b]", "rw", "nfs://host/a%5Bb%5D"},
        {"nfs", "host:/100%#?", "rw", "nfs://host/100%25%23%3F"},
        {"nfs", "host:/B\xC3\xBCro", "rw", "nfs://host/B%C3%BCro"},
        {"nfs", "host", "rw", ""},
        {"nfs", ":/p", "rw", ""},
        {"nfs", "[fe80::1", "rw", ""},
        {"nfs", "[fe80::1]", "rw", ""},
        {"nfs", "", "rw", ""},
        {"cifs", "//host/share", "rw", "smb://host/share"},
        {"smb3", "//host/share/sub", "rw", "smb://host/share/sub"},
        {"smbfs", "//host/share", "rw", "smb://host/share"},
        {"cifs", "//host", "rw", "smb://host"},
        {"cifs", "\\\\host\\share", "rw", "smb://host/share"},
        {"cifs", "//user@host/my share", "rw", "smb://user@host/my%20share"},
        {"cifs", "//fe80::1/s", "rw", "smb://[fe80::1]/s"},
        {"cifs", "//[fe80::1]/s", "rw", "smb://[fe80::1]/s"},
        {"cifs", "//", "rw", ""},
        {"cifs", "///share", "rw", ""},
        {"cifs", "/host/share", "rw", ""},
        {"cifs", "none", "rw", ""},
        {"fuse.sshfs", "u@h:/p", "rw", "sftp://u@h/p"},
        {"fuse.sshfs", "h:/p", "rw", "sftp://h/p"},
        {"fuse.sshfs", "h:", "rw", "sftp://h/~/"},
        {"fuse.sshfs", "u@h:p/q", "rw", "sftp://u@h/~/p/q"},
        {"fuse.sshfs", "u@[fe80::1]:/p", "rw", "sftp://u@[fe80::1]/p"},
        {"fuse.sshfs", "a@b@h:/p", "rw", "sftp://a%40b@h/p"},
        {"fuse.sshfs", "h:a[b", "rw", "sftp://h/~/a%5Bb"},
        {"fuse", "https://h/dav", "rw", "https://h/dav"},
        {"fuse", "http://h:8080/my%20dav", "rw", "http://h:8080/my%20dav"},
        {"fuse.davfs", "https://h/dav", "rw", "https://h/dav"},
        {"davfs", "https://h/dav", "rw", "https://h/dav"},
        {"fuse", "ftp://h/", "rw", ""},
        {"fuse", "/dev/sda1", "rw", ""},
        {"fuse.other", "https://h/dav", "rw", ""},
        {"9p", "10.0.0.1", "rw,trans=tcp,port=564", "9p://10.0.0.1:564/"},
        {"9p", "h", "trans=tcp,aname=/export/a b", "9p://h/export/a%20b"},
        {"9p", "h", "trans=rdma,aname=tree", "9p://h/tree"},
        {"9p", "fe80::1", "trans=tcp", "9p://[fe80::1]/"},
        {"9p", "h", "rw,xtrans=virtio", "9p://h/"},
        {"9p", "tag", "rw,access=client,trans=virtio", ""},
        {"9p", "tag", "trans=fd,rfdno=8", ""},
        {"9p", "/run/socket", "trans=unix", ""},
        {"9p", "", "trans=tcp", ""},
        {"9p", "none", "trans=tcp", ""},
        {"ext4", "host:/p", "rw", ""},
        {"NFS", "host:/p", "rw", ""},
        {"", "", "", ""},
    };

    for (auto const& c : kCases)
        EXPECT_EQ(ServerURLOf(c.mType, c.mSource, c.mOptions), c.mURL)
            << c.mType << " " << c.mSource;
}

}  // namespace
