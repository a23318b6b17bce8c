#include <Yarkit/YFile.h>

#include <Yarkit/FileManagerAdditions.h>
#include <Yarkit/PathExtensions.h>
#include <Yarkit/YDefaultHandler.h>
#include <Yarkit/YFileFilter.h>
#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/runtime/Locker.h>
#include <Yarkit/core/runtime/Mutex.h>
#include <Yarkit/core/runtime/Send.h>
#include <Yarkit/core/system/Archiver.h>
#include <Yarkit/core/system/DirectoryEnumerator.h>
#include <Yarkit/core/system/FileHandle.h>
#include <Yarkit/core/system/FileManager.h>
#include <Yarkit/core/system/URL.h>
#include <Yarkit/core/system/Unarchiver.h>
#include <Yarkit/core/threads/Lock.h>
#include <Yarkit/core/values/Array.h>
#include <Yarkit/core/values/Data.h>
#include <Yarkit/core/values/Date.h>
#include <Yarkit/core/values/Log.h>
#include <Yarkit/core/values/MutableArray.h>
#include <Yarkit/core/values/MutableDictionary.h>

#include "core/system/DirectoryReader.h"

#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <vector>

namespace yk {

YK_DEFINE_CLASS(YFile);

namespace {

constexpr size_t pathBufferSize = 1024;

// The class-wide state: the lock around the shared file manager's calls and the handler slot.
struct ClassState {
    Ref<Lock> lock = make<Lock>();
    Mutex handlerMutex;
    Ref<Object> handler YK_GUARDED_BY(handlerMutex);
};

ClassState& classState()
{
    static ClassState* const state = new ClassState;
    return *state;
}

FileManager* manager()
{
    return FileManager::defaultManager();
}

} // namespace

YFile::YFile()
    : _path(make<String>())
{
}

YFile::YFile(const String* path)
    : _path(YK_stringByNormalizingPath(path))
{
    if (!_path)
        _path = make<String>();
}

Ref<YFile> YFile::fileWithPath(const String* path)
{
    return path ? make<YFile>(path) : nullptr;
}

Ref<YFile> YFile::fileWithParentPath(const String* parent, const String* name)
{
    if (!parent)
        return fileWithPath(name);
    if (!name)
        return fileWithPath(parent);
    return fileWithPath(parent->stringByAppendingPathComponent(name).get());
}

Ref<YFile> YFile::fileWithParentFile(const YFile* parent, const String* name)
{
    return fileWithParentPath(parent ? parent->path().get() : nullptr, name);
}

Ref<YFile> YFile::fileOfSameClass(const String* path) const
{
    if (!path)
        return nullptr;
    return fileOfSameClassWithNormalPath(YK_stringByNormalizingPath(path));
}

Ref<YFile> YFile::fileOfSameClassWithNormalPath(Ref<String> path) const
{
    Ref<YFile> file;
    if (classObject() == staticClass()) {
        file = make<YFile>();
    } else {
        auto instance = classObject()->createInstance();
        file = Ref<YFile>(dynamic_cast<YFile*>(instance.get()));
        if (!file)
            file = make<YFile>();
    }
    file->_path = std::move(path);
    return file;
}

Ref<YFile> YFile::childFile(const String* name) const
{
    std::u16string_view parent = _path->view();
    std::u16string path;
    path.reserve(parent.size() + 1 + name->length());
    path.append(parent);
    if (!parent.empty() && parent != u"/")
        path.push_back(u'/');
    path.append(name->view());
    return fileOfSameClassWithNormalPath(make<String>(std::move(path)));
}

// Naming and path arithmetic

Ref<String> YFile::name() const
{
    return _path->lastPathComponent();
}

Ref<String> YFile::pathExtension() const
{
    return _path->pathExtension();
}

std::string YFile::fileSystemRepresentation() const
{
    return _path->fileSystemRepresentation();
}

bool YFile::hasName(const String* name) const
{
    auto own = this->name();
    return own && name && own->compare(name) == OrderedSame;
}

bool YFile::isAbsolute() const
{
    return _path->isAbsolutePath();
}

Ref<String> YFile::parentPath() const
{
    if (!_path->length() || _path->isEqualToString(std::string_view("/")))
        return nullptr;
    return _path->stringByDeletingLastPathComponent();
}

Ref<YFile> YFile::parentFile() const
{
    auto parent = parentPath();
    return parent ? fileOfSameClass(parent.get()) : nullptr;
}

Ref<String> YFile::absolutePath() const
{
    if (isAbsolute())
        return _path;
    auto current = manager()->currentDirectoryPath();
    return current ? current->stringByAppendingPathComponent(_path.get()) : _path;
}

Ref<YFile> YFile::absoluteFile() const
{
    auto absolute = absolutePath();
    if (absolute->isEqualToString(_path.get()))
        return copy();
    return fileOfSameClass(absolute.get());
}

Ref<yk::URL> YFile::URL() const
{
    return yk::URL::fileURLWithPath(absolutePath().get());
}

Ref<String> YFile::resolvedPath() const
{
    return YK_stringByResolvingAliasFile(absolutePath().get());
}

Ref<YFile> YFile::resolvedFile() const
{
    auto resolved = resolvedPath();
    if (resolved->isEqualToString(_path.get()))
        return copy();
    return fileOfSameClass(resolved.get());
}

Ref<String> YFile::description() const
{
    return _path->description();
}

// Tests and attributes

bool YFile::isReadable() const { return manager()->isReadableFileAtPath(_path.get()); }
bool YFile::isWritable() const { return manager()->isWritableFileAtPath(_path.get()); }
bool YFile::isExecutable() const { return manager()->isExecutableFileAtPath(_path.get()); }

bool YFile::exists() const
{
    return YK_fileExistsAtPath(manager(), _path.get(), nullptr, false);
}

bool YFile::isDirectory() const
{
    bool folder = false;
    return YK_fileExistsAtPath(manager(), _path.get(), &folder, false) && folder;
}

uint32_t YFile::entryType() const
{
    char bytes[pathBufferSize];
    struct stat status;
    if (!_path->getFileSystemRepresentation(bytes, sizeof bytes) || lstat(bytes, &status) < 0)
        return 0;
    return status.st_mode & S_IFMT;
}

// The type tests read the entry's type directly: the same answer as fileAttributes' NSFileType
// without building the whole dictionary (listings call them for every entry).
bool YFile::isRegular() const { return entryType() == S_IFREG; }
bool YFile::isSymbolicLink() const { return entryType() == S_IFLNK; }

bool YFile::isHidden() const
{
    return YK_isHiddenFileAtPath(manager(), _path.get());
}

Ref<Dictionary> YFile::fileAttributes() const
{
    Locker guard(*classState().lock);
    return manager()->fileAttributesAtPath(_path.get(), false);
}

bool YFile::changeFileAttributes(const Dictionary* attributes) const
{
    Locker guard(*classState().lock);
    return manager()->changeFileAttributes(attributes, _path.get());
}

Ref<Date> YFile::creationDate() const
{
    return YK_creationDateAtPath(manager(), _path.get());
}

Ref<Date> YFile::modificationDate() const
{
    auto attributes = fileAttributes();
    if (!attributes)
        return nullptr;
    auto date = attributes->objectForKey(std::string_view(NSFileModificationDate));
    return Ref<Date>(dynamic_cast<Date*>(date.get()));
}

bool YFile::setModificationDate(const Date* date) const
{
    if (!date)
        return false;
    auto attributes = make<MutableDictionary>();
    attributes->setObjectForStringKey(Ref<Date>(const_cast<Date*>(date)), NSFileModificationDate);
    return changeFileAttributes(attributes.get());
}

// Operations

bool YFile::createFile() const
{
    return YK_createFileExclusivelyAtPath(manager(), _path.get());
}

bool YFile::createDirectoryWithParents(bool withParents) const
{
    if (withParents) {
        auto parent = parentFile();
        if (!parent)
            return false;
        if (!parent->exists() && !parent->createDirectoryWithParents(true))
            return false;
    }
    Locker guard(*classState().lock);
    return manager()->createDirectoryAtPath(_path.get(), nullptr);
}

bool YFile::createDirectory() const { return createDirectoryWithParents(false); }
bool YFile::createDirectories() const { return createDirectoryWithParents(true); }

bool YFile::deleteWithContents(bool all) const
{
    if (!all && entryType() == S_IFDIR) {
        auto names = directoryContents();
        if (!names || names->count())
            return false;
    }
    auto handler = YFile::handler();
    Locker guard(*classState().lock);
    if (manager()->removeFileAtPath(_path.get(), handler.get()))
        return true;
    if (!YK_fileExistsAtPath(manager(), _path.get(), nullptr, false))
        return false;
    return manager()->removeFileAtPath(_path.get(), handler.get());
}

bool YFile::deleteFile() const { return deleteWithContents(false); }
bool YFile::deleteAll() const { return deleteWithContents(true); }

bool YFile::moveToFile(const YFile* destination) const
{
    auto handler = YFile::handler();
    Locker guard(*classState().lock);
    return manager()->movePath(_path.get(), destination ? destination->path().get() : nullptr, handler.get());
}

bool YFile::copyToFile(const YFile* destination) const
{
    auto handler = YFile::handler();
    Locker guard(*classState().lock);
    return manager()->copyPath(_path.get(), destination ? destination->path().get() : nullptr, handler.get());
}

bool YFile::renameToFile(const YFile* destination) const
{
    auto handler = YFile::handler();
    return YK_renamePath(manager(), _path.get(), destination ? destination->path().get() : nullptr, handler.get());
}

Ref<Data> YFile::contents() const
{
    Locker guard(*classState().lock);
    return manager()->contentsAtPath(_path.get());
}

Ref<FileHandle> YFile::fileHandleForReading() const
{
    return FileHandle::fileHandleForReadingAtPath(_path.get());
}

Ref<FileHandle> YFile::fileHandleForWriting() const
{
    return FileHandle::fileHandleForWritingAtPath(_path.get());
}

Ref<FileHandle> YFile::fileHandleForUpdating() const
{
    return FileHandle::fileHandleForUpdatingAtPath(_path.get());
}

// Listings

Ref<Array> YFile::directoryContents() const
{
    Locker guard(*classState().lock);
    return manager()->directoryContentsAtPath(_path.get());
}

Ref<Array> YFile::directoryContentsWithNameFilter(Object* nameFilter) const
{
    auto names = directoryContents();
    if (!nameFilter || !names)
        return names;
    auto accepted = MutableArray::arrayWithCapacity(names->count());
    for (auto& name : *names) {
        if (send<bool>(nameFilter, "acceptWithDirectoryFile:name:", const_cast<YFile*>(this), name))
            accepted->addObject(name);
    }
    return accepted;
}

Ref<Array> YFile::directoryFiles() const
{
    return directoryFilesWithFileFilter(nullptr);
}

Ref<Array> YFile::directoryFilesWithFileFilter(const YFileFilter* filter) const
{
    // The entries come with readdir's types, so the filter's kind test needs no lstat where the
    // file system reports them; the answers are acceptWithFile's.
    std::string folder = _path->fileSystemRepresentation();
    std::vector<std::pair<Ref<String>, unsigned char>> entries;
    {
        Locker guard(*classState().lock);
        detail::DirectoryReader reader(folder.c_str());
        if (folder.empty() || !reader.isOpen())
            return nullptr;
        std::string_view name;
        unsigned char type;
        while (reader.next(name, type))
            entries.emplace_back(String::stringWithFileSystemRepresentation(name.data(), name.size()), type);
    }
    auto files = MutableArray::arrayWithCapacity(static_cast<uint32_t>(entries.size()));
    for (auto& [name, type] : entries) {
        auto file = childFile(name.get());
        if (!filter || filter->acceptWithFile(file.get(), name.get(), type))
            files->addObject(std::move(file));
    }
    return files;
}

Ref<Array> YFile::directoryFilesWithNameFilter(Object* nameFilter) const
{
    auto names = directoryContentsWithNameFilter(nameFilter);
    if (!names)
        return nullptr;
    auto files = MutableArray::arrayWithCapacity(names->count());
    for (auto& name : *names)
        files->addObject(childFile(static_cast<String*>(name.get())));
    return files;
}

Ref<DirectoryEnumerator> YFile::directoryEnumerator() const
{
    Locker guard(*classState().lock);
    return manager()->enumeratorAtPath(_path.get());
}

// Ancestry

bool YFile::isDescendantOfFile(const YFile* ancestor) const
{
    if (!ancestor || !isAbsolute() || !ancestor->isAbsolute())
        return false;
    for (auto file = copy(); file; file = file->parentFile()) {
        if (file->isEqualToFile(ancestor))
            return true;
    }
    return false;
}

Ref<String> YFile::relativePathToFile(const YFile* ancestor) const
{
    Ref<YFile> found;
    for (auto file = copy(); file; file = file->parentFile()) {
        if (file->isEqualToFile(ancestor)) {
            found = std::move(file);
            break;
        }
    }
    if (!found)
        return nullptr;
    if (found.get() == this)
        return make<String>();
    auto components = _path->pathComponents();
    uint32_t skip = found->path()->pathComponents()->count();
    auto rest = make<MutableArray>();
    for (uint32_t i = skip; i < components->count(); ++i)
        rest->addObject(components->objectAtIndex(i));
    return String::pathWithComponents(rest.get());
}

// Equality and hashing

size_t YFile::hash() const
{
    uint32_t cached = _hash.load(std::memory_order_relaxed);
    if (cached)
        return cached;
    char bytes[pathBufferSize];
    uint32_t value = 0;
    if (_path->getFileSystemRepresentation(bytes, sizeof bytes)) {
        for (const char* c = bytes; *c; ++c)
            value = value * 31 + static_cast<unsigned char>(*c);
    } else {
        log("Could not interpret %@ as a system-independent path", _path.get());
    }
    _hash.store(value, std::memory_order_relaxed);
    return value;
}

bool YFile::isEqualToFile(const YFile* other) const
{
    if (other == this)
        return true;
    if (!other || hash() != other->hash())
        return false;
    char mine[pathBufferSize], theirs[pathBufferSize];
    if (!_path->getFileSystemRepresentation(mine, sizeof mine)) {
        log("Could not interpret '%@' as system-independent path", _path.get());
        return false;
    }
    if (!other->_path->getFileSystemRepresentation(theirs, sizeof theirs)) {
        log("Could not interpret '%@' as system-independent path", other->_path.get());
        return false;
    }
    return !std::strcmp(mine, theirs);
}

bool YFile::isEqual(const Object* other) const
{
    if (!other)
        return false;
    if (other == this)
        return true;
    if (!other->isKindOfClass(classObject()))
        return false;
    return isEqualToFile(static_cast<const YFile*>(other));
}

// Coding

void YFile::encodeWithCoder(Archiver& coder) const
{
    coder.encodeObject(_path.get());
}

void YFile::initWithCoder(Unarchiver& coder)
{
    auto path = coder.decodeObjectOfClass<String>();
    _path = path ? path : make<String>();
    _hash.store(0, std::memory_order_relaxed);
}

// Error handler

void YFile::setHandler(Object* handler)
{
    auto& state = classState();
    Ref<Object> old;
    {
        Locker guard(state.handlerMutex);
        old = std::exchange(state.handler, Ref<Object>(handler));
    }
    // The old handler is released outside the mutex: its destructor may do anything.
}

Ref<Object> YFile::handler()
{
    auto& state = classState();
    {
        Locker guard(state.handlerMutex);
        if (state.handler)
            return state.handler;
    }
    return Ref<Object>(YDefaultHandler::handler());
}

} // namespace yk
