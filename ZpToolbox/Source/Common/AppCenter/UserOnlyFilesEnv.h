#pragma once

#include <leveldb/env.h>

// The file layer of the log store: leveldb's own, except that every file it
// creates (logs, tables, manifests, CURRENT, LOCK, LOG) is user-only from the
// start. leveldb creates files with mode 0644 less the umask, and it creates
// new ones for as long as the store is open (each flush, compaction and
// manifest), so restricting the directory's files after opening is not enough.
//
// Thread-safe, as leveldb requires of an Env. Lives as long as the process.
class UserOnlyFilesEnv : public leveldb::EnvWrapper {
public:
    // The one instance, for the options of every store the library opens.
    static leveldb::Env* instance();

    leveldb::Status NewWritableFile(const std::string& fname, leveldb::WritableFile** result) override;
    leveldb::Status NewAppendableFile(const std::string& fname, leveldb::WritableFile** result) override;
    leveldb::Status LockFile(const std::string& fname, leveldb::FileLock** lock) override;
    leveldb::Status NewLogger(const std::string& fname, leveldb::Logger** result) override;

private:
    UserOnlyFilesEnv();
};
