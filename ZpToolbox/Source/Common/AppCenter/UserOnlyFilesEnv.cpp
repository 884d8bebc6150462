#include "AppCenter/UserOnlyFilesEnv.h"

#include "AppCenter/PrivateFiles.h"

leveldb::Env* UserOnlyFilesEnv::instance()
{
    // Never destroyed: a store may still be closing while statics go away.
    static UserOnlyFilesEnv* const env = new UserOnlyFilesEnv;
    return env;
}

UserOnlyFilesEnv::UserOnlyFilesEnv()
    : leveldb::EnvWrapper(leveldb::Env::Default())
{
}

// Each method makes the file user-only before leveldb opens it: leveldb's
// open then finds it and keeps its mode.

leveldb::Status UserOnlyFilesEnv::NewWritableFile(const std::string& fname, leveldb::WritableFile** result)
{
    PrivateFiles::createPrivateFile(fname);
    return target()->NewWritableFile(fname, result);
}

leveldb::Status UserOnlyFilesEnv::NewAppendableFile(const std::string& fname, leveldb::WritableFile** result)
{
    PrivateFiles::createPrivateFile(fname);
    return target()->NewAppendableFile(fname, result);
}

leveldb::Status UserOnlyFilesEnv::LockFile(const std::string& fname, leveldb::FileLock** lock)
{
    PrivateFiles::createPrivateFile(fname);
    return target()->LockFile(fname, lock);
}

leveldb::Status UserOnlyFilesEnv::NewLogger(const std::string& fname, leveldb::Logger** result)
{
    PrivateFiles::createPrivateFile(fname);
    return target()->NewLogger(fname, result);
}
