// The baseline: one launch as plain C without checks, over a home folder that the benchmarks lay
// out, with one parse per copy. It is no replacement for the launcher.
//
// It makes the system calls that the rules of a launch ask for: three operations read a copy's
// version, two its launch count, two test its bundle.
// Usage: bench_baseline CLIENT_VERSION

#include "Measure.h"

#include <dirent.h>
#include <fcntl.h>
#include <plist/plist.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#define BUNDLE "OrlixVDIPlugin.app"
#define LOGS "Library/Logs/VantuOrlixVDI"

static int logFile;
static char applicationSupport[2048];
static char bestFolder[4096];
static int bestVersion[4];
static int clientVersion[4];

static void logLine(const char* text, const char* detail) {
  char line[8192];
  struct timespec now;
  struct tm local;
  clock_gettime(CLOCK_REALTIME, &now);
  localtime_r(&now.tv_sec, &local);
  const size_t stamp = strftime(line, sizeof line, "%Y-%m-%d %H:%M:%S", &local);
  const int length = snprintf(
      line + stamp, sizeof line - stamp, ".%03ld %s%s\n", now.tv_nsec / 1000000, text, detail);
  if (write(logFile, line, stamp + (size_t)length) < 0)
    _exit(1);
}

static const char* pathIn(const char* folder, const char* name) {
  static char path[8192];
  snprintf(path, sizeof path, "%s/%s", folder, name);
  return path;
}

static ssize_t readWhole(const char* path, char* buffer, size_t size) {
  struct stat status;
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0)
    return -1;
  fstat(file, &status);
  const ssize_t got = read(file, buffer, size);
  close(file);
  return got;
}

static int hasBundle(const char* folder) {
  struct stat status;
  return stat(pathIn(folder, BUNDLE), &status) == 0;
}

static ssize_t readList(const char* folder, char* content, size_t size) {
  return readWhole(pathIn(folder, BUNDLE "/Contents/Info.plist"), content, size);
}

static int readVersion(const char* folder, int version[4]) {
  char content[65536];
  const ssize_t size = readList(folder, content, sizeof content);
  plist_t list = NULL;
  if (size > 0)
    plist_from_xml(content, (uint32_t)size, &list);
  plist_t value = list == NULL ? NULL : plist_dict_get_item(list, "CFBundleShortVersionString");
  const char* text = value == NULL ? NULL : plist_get_string_ptr(value, NULL);
  const int known =
      text != NULL &&
      sscanf(text, "%d.%d.%d.%d", &version[0], &version[1], &version[2], &version[3]) == 4;
  plist_free(list);
  return known;
}

static int compare(const int a[4], const int b[4], int count) {
  for (int i = 0; i < count; ++i) {
    if (a[i] != b[i])
      return a[i] - b[i];
  }
  return 0;
}

static int readLaunchCount(const char* folder) {
  const char* path = pathIn(folder, "launchCount.dat");
  char count[32] = "";
  struct stat status;
  if (stat(path, &status) == 0)
    readWhole(path, count, sizeof count - 1);
  return atoi(count);
}

static int isCorrupt(const char* folder) {
  struct stat status;
  stat(applicationSupport, &status);
  const int count = readLaunchCount(folder);
  return stat(pathIn(folder, "started.dat"), &status) != 0 && count >= 3;
}

static void consider(const char* folder) {
  char content[65536];
  int version[4];
  if (!hasBundle(folder) || !readVersion(folder, version))
    return;
  logLine("VDI supports CheckCorrupt: ", folder);
  if (isCorrupt(folder))
    return;
  readLaunchCount(folder);
  readList(folder, content, sizeof content);
  hasBundle(folder);
  readList(folder, content, sizeof content);
  logLine("safe start Directory: ", folder);
  logLine("find a candidate with Version: ", folder);
  if (compare(version, clientVersion, 2) > 0)
    return;
  if (compare(version, bestVersion, 4) > 0) {
    memcpy(bestVersion, version, sizeof bestVersion);
    snprintf(bestFolder, sizeof bestFolder, "%s", folder);
  }
}

static void considerAll(const char* launcherFolder) {
  char folder[4096];
  DIR* listing = opendir(launcherFolder);
  for (struct dirent* entry; listing != NULL && (entry = readdir(listing)) != NULL;) {
    if (entry->d_type != DT_DIR || entry->d_name[0] == '.')
      continue;
    snprintf(folder, sizeof folder, "%s/%s", launcherFolder, entry->d_name);
    consider(folder);
  }
  if (listing != NULL)
    closedir(listing);
}

static void* start(void* unused) {
  (void)unused;
  const char* executable = pathIn(bestFolder, BUNDLE "/Contents/MacOS/OrlixVDIPlugin");
  const pid_t child = fork();
  if (child == 0) {
    setsid();
    if (fork() == 0) {
      close_range(0, ~0U, 0);
      open("/dev/null", O_RDWR);
      dup2(0, 1);
      dup2(0, 2);
      if (chdir("/") == 0)
        execl(executable, executable, "loadmode", (char*)NULL);
    }
    _exit(0);
  }
  waitpid(child, NULL, 0);
  sem_post(&startReported);
  return NULL;
}

static void launch(void) {
  char path[4096];
  pthread_t thread;
  const char* home = getenv("HOME");
  snprintf(applicationSupport, sizeof applicationSupport, "%s/Library/Application Support", home);
  mkdir(pathIn(home, LOGS), 0755);
  const char* log = pathIn(home, LOGS "/vdi-launch-launchmode-log.txt");
  logFile = open(log, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  consider("/Applications");
  if (getcwd(path, sizeof path) != NULL)
    consider(path);
  snprintf(path, sizeof path, "%s/VantuOrlixVDILauncher", applicationSupport);
  considerAll(path);
  logLine("Best candidate: ", bestFolder);
  pthread_create(&thread, NULL, start, NULL);
  pthread_detach(thread);
  waitForStart();
  close(logFile);
}

int main(int argc, char** argv) {
  if (argc != 2)
    return 2;
  sscanf(argv[1], "%d.%d", &clientVersion[0], &clientVersion[1]);
  sem_init(&startReported, 0, 0);
  const long long startedAt = processorNanoseconds();
  launch();
  reportCost(startedAt);
  return 0;
}
