// file: all file access of the framework and the application.
// Four places: the read-only data directory (the working directory), the per-user save
// directory, a temporary and a documents directory under it. Names are composed in them, files
// are opened, read, written and deleted with uniform log lines, 16- and 32-bit integers are
// read and written little-endian. Streams are the system library's buffered FILE handles.
// Depends on: wrapper_file (the base paths, the application name), log (log lines).
#pragma once

#include <cstddef>
#include <cstdio>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int FILE_PATH_MAX = 2048;  // the shared result buffer of the file_*_path operations

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern char _filepath[FILE_PATH_MAX];  // the last composed name; overwritten by every file_*_path

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Path composition: base path + name (null counts as ""), logged; returns _filepath
const char *file_data_path(const char *name);
const char *file_data_folders();  // every folder data files are looked for in, quoted, for messages
const char *file_save_path(const char *name);
const char *file_temp_path(const char *name);
const char *file_doc_path(const char *name);

// Opening, closing, deleting: null or a negative result on failure, with log lines. Only regular
// files are opened: anything else at the name (a FIFO, a device, a directory) is refused at once
// with a line saying what it is, as if the file were not there.
FILE *file_open_read(const char *path);
FILE *file_open_write(const char *path);
FILE *file_open_data_read(const char *name);
FILE *file_open_save_read(const char *name);
FILE *file_open_save_write(const char *name);
FILE *file_open_temp_read(const char *name);
FILE *file_open_temp_write(const char *name);
FILE *file_open_doc_read(const char *name);
FILE *file_open_doc_write(const char *name);
void file_close(FILE *stream);  // null is ignored; flushes, then closes
int file_delete(const char *path);
int file_delete_save(const char *name);
int file_delete_temp(const char *name);
int file_delete_doc(const char *name);
int file_rename(const char *from, const char *to);  // logged; replaces `to` atomically; 0, or negative
int file_sync(FILE *stream);  // flush to the disk (not just the system's cache); 0, or -1
// What else than a file is at a path ("a directory", "a FIFO", ...); null for a regular file or
// for nothing there
const char *file_not_a_file(const char *path);
// Why the save folder cannot take files: null when it is there, else the system's message for
// creating it (or a folder on its way), such as "Read-only file system"
const char *file_save_folder_problem();
const char *file_error();     // the system's message for the last open, write, sync, rename or
                              // delete that failed

// Reading and writing
int file_getc(FILE *stream);
int file_putc(FILE *stream, int ch);
int file_getw(FILE *stream);             // signed 16-bit little-endian; -1 on a short read
int file_putw(FILE *stream, int value);  // low 16 bits; items written (1 or 0)
int file_getl(FILE *stream);             // signed 32-bit little-endian; -1 on a short read
int file_putl(FILE *stream, int value);  // items written (1 or 0)
size_t file_read(FILE *stream, void *buf, size_t n);
size_t file_write(FILE *stream, const void *buf, size_t n);
long file_length(FILE *stream);          // bytes in the file, position kept; -1 on failure
