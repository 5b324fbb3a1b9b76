// Loading a library at run time, in the words of both systems.
#pragma once

void* LoadModule(const char* path);  // null: it can't be loaded
void* FindExport(void* module, const char* name);
void UnloadModule(void* module);
