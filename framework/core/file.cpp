// file: all file access of the framework and the application (see file.h).
#include "file.h"


#include <cerrno>
#include <cstdint>
#include <cstring>

#include "log.h"
#include "wrapper_file.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int FILE_NAME_MAX = 1024;  // names given to the open and delete operations, with their base path

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
char _filepath[FILE_PATH_MAX];
static char file_name[FILE_NAME_MAX];  // the full name of the last open or delete in a base path
static int last_error = 0;             // the system's error of the last failed operation

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Base path + name (null counts as "") into a buffer, cut to fit
template <size_t N>
static const char *compose(char (&buffer)[N], const char *base, const char *name)
{
    std::snprintf(buffer, N, "%s%s", base, name ? name : "");
    return buffer;
}

// Compose a name into the shared result buffer and log it
static const char *compose_logged(const char *base, const char *name)
{
    compose(_filepath, base, name);
    lum_log(_filepath);
    return _filepath;
}

// Keep the system's error of a failed operation for file_error
static void failed()
{
    last_error = errno;
}

// Open with the log line "file_open_<read|write> '<path>': <OK|FAIL>" and the system's error.
// Only regular files (or names not there yet) are opened: a FIFO would block the open for ever.
static FILE *open_logged(const char *path, const char *mode, const char *what)
{
    FILE *stream = nullptr;
    if (wrapper_file_readable(path)) {
        stream = std::fopen(path, mode);
        if (!stream)
            failed();
    } else {
        last_error = EINVAL;
    }
    lum_logf("file_open_%s '%s': %s\n", what, path, stream ? "OK" : "FAIL");
    if (!stream)
        std::perror("file open failed");
    return stream;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
const char *file_data_path(const char *name)
{
    return compose_logged(wrapper_file_find_data(name), name);
}

const char *file_data_folders()
{
    return wrapper_file_data_folders();
}

const char *file_save_path(const char *name)
{
    return compose_logged(wrapper_file_save_path(), name);
}

const char *file_temp_path(const char *name)
{
    return compose_logged(wrapper_file_temp_path(), name);
}

const char *file_doc_path(const char *name)
{
    return compose_logged(wrapper_file_doc_path(), name);
}

// Open a full path for binary reading
FILE *file_open_read(const char *path)
{
    return open_logged(path, "rb", "read");
}

// Open a full path for binary writing, truncating an existing file
FILE *file_open_write(const char *path)
{
    return open_logged(path, "wb", "write");
}

FILE *file_open_data_read(const char *name)
{
    return file_open_read(compose(file_name, wrapper_file_find_data(name), name));
}

FILE *file_open_save_read(const char *name)
{
    return file_open_read(compose(file_name, wrapper_file_save_path(), name));
}

FILE *file_open_save_write(const char *name)
{
    return file_open_write(compose(file_name, wrapper_file_save_path(), name));
}

FILE *file_open_temp_read(const char *name)
{
    return file_open_read(compose(file_name, wrapper_file_temp_path(), name));
}

FILE *file_open_temp_write(const char *name)
{
    return file_open_write(compose(file_name, wrapper_file_temp_path(), name));
}

FILE *file_open_doc_read(const char *name)
{
    return file_open_read(compose(file_name, wrapper_file_doc_path(), name));
}

FILE *file_open_doc_write(const char *name)
{
    return file_open_write(compose(file_name, wrapper_file_doc_path(), name));
}

// Flush and close; null is ignored
void file_close(FILE *stream)
{
    if (!stream)
        return;
    std::fflush(stream);
    std::fclose(stream);
}

// Remove a file, logged; 0, or negative with the system's error printed
int file_delete(const char *path)
{
    lum_logf("delete '%s'\n", path);
    int result = std::remove(path);
    if (result < 0) {
        failed();
        std::perror("file delete failed");
    }
    return result;
}

int file_delete_save(const char *name)
{
    return file_delete(compose(file_name, wrapper_file_save_path(), name));
}

int file_delete_temp(const char *name)
{
    return file_delete(compose(file_name, wrapper_file_temp_path(), name));
}

int file_delete_doc(const char *name)
{
    return file_delete(compose(file_name, wrapper_file_doc_path(), name));
}

// Rename a file, logged, replacing `to` atomically if it exists; 0, or negative with the
// system's error printed
int file_rename(const char *from, const char *to)
{
    lum_logf("rename '%s' to '%s'\n", from, to);
    int result = std::rename(from, to);
    if (result < 0) {
        failed();
        std::perror("file rename failed");
        return result;
    }
    wrapper_file_changed(to);
    return result;
}

// Push the stream's buffer to the system and the system's cache to the disk; a full disk or a
// stream that cannot be synchronised (a pipe) gives -1
int file_sync(FILE *stream)
{
    if (std::fflush(stream) != 0 || wrapper_file_sync(fileno(stream)) != 0) {
        failed();
        return -1;
    }
    return 0;
}

const char *file_not_a_file(const char *path)
{
    int kind = wrapper_file_kind(path);
    return kind == WRAPPER_FILE_MISSING || kind == WRAPPER_FILE_REGULAR ? nullptr : wrapper_file_kind_name(kind);
}

const char *file_save_folder_problem()
{
    char path[FILE_PATH_MAX];
    compose(path, wrapper_file_save_path(), "");
    if (wrapper_file_kind(path) == WRAPPER_FILE_DIRECTORY)
        return nullptr;
    // Each folder on the way, from the top: the first that cannot be made is the cause
    for (char *slash = std::strchr(path + 1, '/'); slash; slash = std::strchr(slash + 1, '/')) {
        *slash = '\0';
        bool made = wrapper_mkdir(path) == 0 || errno == EEXIST;
        int cause = errno;
        *slash = '/';
        if (!made)
            return std::strerror(cause);
    }
    return nullptr;
}

const char *file_error()
{
    return std::strerror(last_error);
}

int file_getc(FILE *stream)
{
    return std::fgetc(stream);
}

int file_putc(FILE *stream, int ch)
{
    return std::fputc(ch, stream);
}

// Two bytes, low first, as a signed 16-bit value
int file_getw(FILE *stream)
{
    uint8_t b[2];
    if (std::fread(b, sizeof b, 1, stream) != 1)
        return -1;
    return static_cast<int16_t>(b[0] | b[1] << 8);
}

int file_putw(FILE *stream, int value)
{
    const uint8_t b[2] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
    return static_cast<int>(std::fwrite(b, sizeof b, 1, stream));
}

// Four bytes, low first, as a signed 32-bit value
int file_getl(FILE *stream)
{
    uint8_t b[4];
    if (std::fread(b, sizeof b, 1, stream) != 1)
        return -1;
    uint32_t u = b[0] | b[1] << 8 | b[2] << 16 | static_cast<uint32_t>(b[3]) << 24;
    return static_cast<int32_t>(u);
}

int file_putl(FILE *stream, int value)
{
    const uint32_t u = static_cast<uint32_t>(value);
    const uint8_t b[4] = {static_cast<uint8_t>(u), static_cast<uint8_t>(u >> 8), static_cast<uint8_t>(u >> 16),
                          static_cast<uint8_t>(u >> 24)};
    return static_cast<int>(std::fwrite(b, sizeof b, 1, stream));
}

size_t file_read(FILE *stream, void *buf, size_t n)
{
    return std::fread(buf, 1, n, stream);
}

size_t file_write(FILE *stream, const void *buf, size_t n)
{
    size_t written = std::fwrite(buf, 1, n, stream);
    if (written < n)
        failed();
    return written;
}

// The length from the end position, the current position restored
long file_length(FILE *stream)
{
    long position = std::ftell(stream);
    if (position < 0)
        return -1;
    if (std::fseek(stream, 0, SEEK_END) != 0)
        return -1;
    long length = std::ftell(stream);
    std::fseek(stream, position, SEEK_SET);
    return length;
}
