#include "support/MountedImage.h"

#include "support/FileWorld.h"

#include <fcntl.h>
#include <linux/loop.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace support {

namespace {

constexpr off_t kImageBytes = 320 << 20;  // the least that xfs takes, without blocks until they are written
constexpr int kLoopTries = 100;

// A device that shows the file while it is open or mounted. -1 where there is none, with errno.
int OpenLoop(int inImage, bool inIsReadOnly, std::string& outPath) {
    const int control = open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    if (control < 0) return -1;
    int device = -1;
    // Another may take the one that is free.
    for (int i = 0; i < kLoopTries && device < 0; ++i) {
        const int number = ioctl(control, LOOP_CTL_GET_FREE);
        if (number < 0) break;
        outPath = "/dev/loop" + std::to_string(number);
        device = open(outPath.c_str(), O_RDWR | O_CLOEXEC);
        if (device < 0) break;
        struct loop_config config = {};
        config.fd = static_cast<__u32>(inImage);
        config.info.lo_flags = LO_FLAGS_AUTOCLEAR | (inIsReadOnly ? LO_FLAGS_READ_ONLY : 0);
        if (ioctl(device, LOOP_CONFIGURE, &config) == 0) break;
        const int error = errno;
        close(device);
        device = -1;
        errno = error;
        if (error != EBUSY) break;
    }
    const int error = errno;
    close(control);
    errno = error;
    return device;
}

}  // namespace

MountedImage::MountedImage(const std::string& inType, bool inIsReadOnly) {
    if (!FileWorld(FileWorld::kReal).MayMount()) {
        mWhyNot = "this process may not mount";
        return;
    }
    // A test may go on as an ordinary user.
    EXPECT_EQ(0, chmod(mFolder.Path().c_str(), 0755));
    Format(inType);
    if (mWhyNot.empty()) Mount(inType, inIsReadOnly);
}

MountedImage::~MountedImage() {
    if (!mIsMounted) return;
    EXPECT_EQ(0, umount(mPath.c_str())) << errno;
    EndGuard();
}

// The driver of a file system that was killed together with the test, and is the last that has it mounted,
// unmounts it as it ends: it waits for its own answer for ever, and whoever syncs the machine's disks waits
// for it. So somebody stays behind for that moment, who ends the connection to the driver.
void MountedImage::StartGuard() {
    int ends[2] = {};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    mGuard = fork();
    ASSERT_NE(-1, mGuard);
    if (mGuard == 0) {
        char byte = 0;
        setsid();
        close_range(static_cast<unsigned>(ends[0]) + 1, ~0U, 0);
        if (read(ends[0], &byte, 1) == 0) (void)umount2(mPath.c_str(), MNT_FORCE);
        _exit(0);
    }
    close(ends[0]);
    mGuarded = ends[1];
}

void MountedImage::EndGuard() {
    if (mGuard == 0) return;
    close(mGuarded);
    EXPECT_EQ(mGuard, waitpid(mGuard, nullptr, 0));
}

void MountedImage::Format(const std::string& inType) {
    if (inType == "squashfs") {
        mFolder.MakeFolder("tree");
        mFolder.MakeFile("tree/file", "of the image");
        return Run({"mksquashfs", mFolder / "tree", mImage, "-quiet", "-no-progress"});
    }
    mFolder.MakeFile("image", "");
    EXPECT_EQ(0, truncate(mImage.c_str(), kImageBytes));
    std::vector<std::string> command = {"mkfs." + inType, mImage};
    if (inType != "exfat") command.insert(command.begin() + 1, "-q");
    if (inType == "ext4") command.insert(command.begin() + 2, {"-b", "4096"});
    Run(command);
}

void MountedImage::Mount(const std::string& inType, bool inIsReadOnly) {
    const int image = open(mImage.c_str(), (inIsReadOnly ? O_RDONLY : O_RDWR) | O_CLOEXEC);
    EXPECT_GE(image, 0);
    std::string device;
    const int loop = OpenLoop(image, inIsReadOnly, device);
    close(image);
    if (loop < 0) {
        mWhyNot = std::string("no loop device: ") + std::strerror(errno);
        return;
    }
    const unsigned long flags = inType == "squashfs" ? MS_RDONLY : 0;
    if (mount(device.c_str(), mPath.c_str(), inType.c_str(), flags, nullptr) == 0)
        mIsMounted = true;
    else if (inType != "exfat")
        mWhyNot = std::string("the kernel does not mount it: ") + std::strerror(errno);
    else
        Run({"mount.exfat-fuse", device, mPath});
    mIsMounted = mWhyNot.empty();
    if (mIsMounted && inType == "exfat") StartGuard();
    close(loop);
    // As other folders of temporary files are; where there are no permissions everybody may anyway.
    if (mIsMounted && flags == 0) (void)chmod(mPath.c_str(), 01777);
}

// What it writes is of no interest; that it is missing, or fails, is why not.
void MountedImage::Run(const std::vector<std::string>& inCommand) {
    std::vector<char*> arguments;
    for (const std::string& argument : inCommand)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    EXPECT_EQ(0, posix_spawn_file_actions_init(&actions));
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
        EXPECT_EQ(0, posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_WRONLY, 0));
    pid_t process = 0;
    int error = ENOENT;
    for (const char* const folder : {"/usr/sbin/", "/sbin/", "/usr/bin/"}) {
        const std::string program = folder + inCommand[0];
        if (error == ENOENT)
            error = posix_spawn(&process, program.c_str(), &actions, nullptr, arguments.data(), environ);
    }
    EXPECT_EQ(0, posix_spawn_file_actions_destroy(&actions));
    int status = 0;
    if (error != 0) {
        mWhyNot = inCommand[0] + ": " + std::strerror(error);
        return;
    }
    EXPECT_EQ(process, waitpid(process, &status, 0));
    if (status != 0) mWhyNot = inCommand[0] + " failed: " + std::to_string(status);
}

}  // namespace support
