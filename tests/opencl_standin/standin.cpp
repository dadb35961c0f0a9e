// The scripted OpenCL stand-in (see standin_control.h). Every object is kept
// until the library is unloaded, so handles stay valid for the log and a
// program deliberately left unreleased is no leak of the test process.
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "opencl/cl_api.h"
#include "opencl_standin/standin_control.h"

#if defined(_WIN32)
#define STANDIN_API extern "C" __declspec(dllexport)
#else
#define STANDIN_API extern "C" __attribute__((visibility("default")))
#endif

namespace {

struct Object {
    virtual ~Object() = default;
    std::string kind;
    int id = 0;
    bool released = false;
    std::string Tag() const { return kind + "#" + std::to_string(id); }
};

struct Platform : Object {
    std::string name;
    std::string version;
    bool hasVersion = true;
};

struct Device : Object {
    Platform* platform = nullptr;
    cl_device_type type = 0;
    std::string vendor, version;
};

struct Context : Object {};
struct Queue : Object {};
struct Mem : Object {
    std::vector<unsigned char> bytes;
};
struct Event : Object {};

struct Program : Object {
    std::string source;
    std::string binary;  // as handed to clCreateProgramWithBinary
    bool fromBinary = false;
    bool built = false;
};

struct Kernel : Object {
    Program* program = nullptr;
    std::string name;
};

struct State {
    std::mutex mutex;
    std::vector<std::unique_ptr<Object>> objects;
    std::vector<Platform*> platforms;
    std::vector<Device*> devices;
    std::map<std::string, int> options;
    std::map<std::string, int> counters;
    std::string log;

    State() { Defaults(); }

    // Objects stay (their handles must remain valid); numbering starts again.
    void Clear() {
        platforms.clear();
        devices.clear();
        options.clear();
        counters.clear();
        log.clear();
    }

    void Defaults() {
        const int p = AddPlatform("Standin Platform", "OpenCL 1.2 Standin");
        AddDevice(p, CL_DEVICE_TYPE_GPU, "Standin Vendor", "OpenCL 1.2 Standin");
    }

    template <class T>
    T* Make(const char* kind) {
        auto object = std::make_unique<T>();
        object->kind = kind;
        object->id = ++counters[kind];
        T* raw = object.get();
        objects.push_back(std::move(object));
        return raw;
    }

    int AddPlatform(const char* name, const char* version) {
        Platform* p = Make<Platform>("platform");
        p->name = name ? name : "";
        p->hasVersion = version != nullptr;
        p->version = version ? version : "";
        platforms.push_back(p);
        return int(platforms.size()) - 1;
    }

    Device* AddDevice(int platform, cl_device_type type, const char* vendor, const char* version) {
        if (platform < 0 || platform >= int(platforms.size())) return nullptr;
        Device* d = Make<Device>("device");
        d->platform = platforms[size_t(platform)];
        d->type = type;
        d->vendor = vendor ? vendor : "";
        d->version = version ? version : "";
        devices.push_back(d);
        return d;
    }

    // The object behind a handle if it is one of ours, of type T, not released.
    template <class T>
    T* As(const void* handle) {
        if (!handle) return nullptr;
        for (auto& o : objects)
            if (o.get() == handle) return o->released ? nullptr : dynamic_cast<T*>(o.get());
        return nullptr;
    }

    std::string TagOf(const void* handle) {
        if (!handle) return "null";
        for (auto& o : objects)
            if (o.get() == handle) return o->Tag();
        char text[32];
        std::snprintf(text, sizeof text, "ptr:%p", handle);
        return text;
    }

    void Log(const std::string& line) { log += line + "\n"; }
    bool Option(const char* name) {
        auto it = options.find(name);
        return it != options.end() && it->second != 0;
    }
};

State& S() {
    static State state;
    return state;
}

using Lock = std::lock_guard<std::mutex>;

// What the ICD loader answers when no platform is installed (CL_PLATFORM_NOT_FOUND_KHR).
constexpr cl_int kPlatformNotFound = -1001;

std::string Hex(unsigned long long v) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%llx", v);
    return text;
}

// Copies an info value as OpenCL does: a too small buffer is CL_INVALID_VALUE.
cl_int Answer(const void* data, size_t size, size_t capacity, void* out, size_t* sizeRet) {
    if (sizeRet) *sizeRet = size;
    if (out) {
        if (capacity < size) return CL_INVALID_VALUE;
        if (size) std::memcpy(out, data, size);
    }
    return CL_SUCCESS;
}

cl_int AnswerText(const std::string& text, size_t capacity, void* out, size_t* sizeRet) {
    return Answer(text.c_str(), text.size() + 1, capacity, out, sizeRet);
}

cl_int Unsupported(const char* name) {
    Lock hold(S().mutex);
    S().Log(std::string(name) + " unsupported");
    return CL_INVALID_OPERATION;
}

template <class T>
T UnsupportedObject(const char* name, cl_int* err) {
    Unsupported(name);
    if (err) *err = CL_INVALID_OPERATION;
    return nullptr;
}

template <class T>
T* Created(T* object, cl_int* err) {
    if (err) *err = CL_SUCCESS;
    return object;
}

template <class T>
T* Failed(cl_int code, cl_int* err) {
    if (err) *err = code;
    return nullptr;
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

bool HasKernel(const std::string& source, const std::string& name) {
    return source.find("__kernel void " + name + "(") != std::string::npos;
}

cl_int Release(const void* handle, const char* function) {
    Lock hold(S().mutex);
    Object* o = S().As<Object>(handle);
    std::string line = std::string(function) + " " + S().TagOf(handle);
    if (auto* k = dynamic_cast<Kernel*>(o)) line += " " + k->name;
    S().Log(line);
    if (!o) return CL_INVALID_VALUE;
    o->released = true;
    return CL_SUCCESS;
}

}  // namespace

// ---- control ----

STANDIN_API void StandinReset(void) {
    Lock hold(S().mutex);
    S().Clear();
}

STANDIN_API int StandinAddPlatform(const char* name, const char* version) {
    Lock hold(S().mutex);
    return S().AddPlatform(name, version);
}

STANDIN_API void* StandinAddDevice(int platform, uint64_t type, const char* vendor, const char* version) {
    Lock hold(S().mutex);
    return S().AddDevice(platform, type, vendor, version);
}

STANDIN_API void StandinSetOption(const char* name, int value) {
    Lock hold(S().mutex);
    S().options[name] = value;
}

STANDIN_API const char* StandinLog(void) {
    Lock hold(S().mutex);
    return S().log.c_str();
}

STANDIN_API void StandinClearLog(void) {
    Lock hold(S().mutex);
    S().log.clear();
}

STANDIN_API int StandinLiveObjects(const char* kind) {
    Lock hold(S().mutex);
    int n = 0;
    for (auto& o : S().objects)
        if (o->kind == kind && !o->released) ++n;
    return n;
}

// ---- platforms and devices ----

STANDIN_API cl_int CL_API_CALL clGetPlatformIDs(cl_uint num_entries, cl_platform_id* platforms,
                                                cl_uint* num_platforms) {
    Lock hold(S().mutex);
    S().Log("clGetPlatformIDs");
    if (platforms && num_entries == 0) return CL_INVALID_VALUE;
    const auto& all = S().platforms;
    if (num_platforms) *num_platforms = cl_uint(all.size());
    for (size_t i = 0; platforms && i < all.size() && i < num_entries; ++i)
        platforms[i] = reinterpret_cast<cl_platform_id>(all[i]);
    return all.empty() ? kPlatformNotFound : CL_SUCCESS;
}

STANDIN_API cl_int CL_API_CALL clGetPlatformInfo(cl_platform_id platform, cl_platform_info param_name,
                                                 size_t param_value_size, void* param_value,
                                                 size_t* param_value_size_ret) {
    Lock hold(S().mutex);
    Platform* p = S().As<Platform>(platform);
    S().Log("clGetPlatformInfo " + (p ? p->name : S().TagOf(platform)) + " " + Hex(param_name) +
            " size=" + std::to_string(param_value_size));
    if (!p) return CL_INVALID_PLATFORM;
    switch (param_name) {
    case CL_PLATFORM_NAME:
        return AnswerText(p->name, param_value_size, param_value, param_value_size_ret);
    case CL_PLATFORM_VERSION:
        if (!p->hasVersion) return Answer(nullptr, 0, param_value_size, param_value, param_value_size_ret);
        return AnswerText(p->version, param_value_size, param_value, param_value_size_ret);
    case CL_PLATFORM_VENDOR:
        return AnswerText("Standin", param_value_size, param_value, param_value_size_ret);
    case CL_PLATFORM_PROFILE:
        return AnswerText("FULL_PROFILE", param_value_size, param_value, param_value_size_ret);
    case CL_PLATFORM_EXTENSIONS:
        return AnswerText("", param_value_size, param_value, param_value_size_ret);
    default:
        return CL_INVALID_VALUE;
    }
}

STANDIN_API cl_int CL_API_CALL clGetDeviceIDs(cl_platform_id platform, cl_device_type device_type,
                                              cl_uint num_entries, cl_device_id* devices, cl_uint* num_devices) {
    Lock hold(S().mutex);
    Platform* p = S().As<Platform>(platform);
    S().Log("clGetDeviceIDs " + (p ? p->name : S().TagOf(platform)) + " type=" + Hex(device_type));
    if (!p) return CL_INVALID_PLATFORM;
    if (devices && num_entries == 0) return CL_INVALID_VALUE;
    std::vector<Device*> found;
    for (Device* d : S().devices)
        if (d->platform == p && (device_type == CL_DEVICE_TYPE_ALL || (d->type & device_type) ||
                                 (device_type == CL_DEVICE_TYPE_DEFAULT && found.empty())))
            found.push_back(d);
    if (num_devices) *num_devices = cl_uint(found.size());
    for (size_t i = 0; devices && i < found.size() && i < num_entries; ++i)
        devices[i] = reinterpret_cast<cl_device_id>(found[i]);
    return found.empty() ? CL_DEVICE_NOT_FOUND : CL_SUCCESS;
}

STANDIN_API cl_int CL_API_CALL clGetDeviceInfo(cl_device_id device, cl_device_info param_name,
                                               size_t param_value_size, void* param_value,
                                               size_t* param_value_size_ret) {
    Lock hold(S().mutex);
    Device* d = S().As<Device>(device);
    S().Log("clGetDeviceInfo " + S().TagOf(device) + " " + Hex(param_name) + " size=" +
            std::to_string(param_value_size));
    if (!d) return CL_INVALID_DEVICE;
    switch (param_name) {
    case CL_DEVICE_TYPE:
        return Answer(&d->type, sizeof d->type, param_value_size, param_value, param_value_size_ret);
    case CL_DEVICE_VENDOR:
        return AnswerText(d->vendor, param_value_size, param_value, param_value_size_ret);
    case CL_DEVICE_VERSION:
        return AnswerText(d->version, param_value_size, param_value, param_value_size_ret);
    case CL_DEVICE_NAME:
        return AnswerText("Standin Device", param_value_size, param_value, param_value_size_ret);
    case CL_DEVICE_PLATFORM: {
        cl_platform_id p = reinterpret_cast<cl_platform_id>(d->platform);
        return Answer(&p, sizeof p, param_value_size, param_value, param_value_size_ret);
    }
    default:
        return CL_INVALID_VALUE;
    }
}

// ---- contexts, queues, memory ----

STANDIN_API cl_context CL_API_CALL clCreateContext(const cl_context_properties* properties, cl_uint num_devices,
                                                   const cl_device_id* devices,
                                                   void(CL_CALLBACK* pfn_notify)(const char*, const void*, size_t,
                                                                                 void*),
                                                   void* user_data, cl_int* errcode_ret) {
    Lock hold(S().mutex);
    S().Log("clCreateContext");
    if (num_devices == 0 || !devices) return Failed<_cl_context>(CL_INVALID_VALUE, errcode_ret);
    for (cl_uint i = 0; i < num_devices; ++i)
        if (!S().As<Device>(devices[i])) return Failed<_cl_context>(CL_INVALID_DEVICE, errcode_ret);
    return Created(reinterpret_cast<cl_context>(S().Make<Context>("context")), errcode_ret);
}

STANDIN_API cl_int CL_API_CALL clReleaseContext(cl_context context) { return Release(context, "clReleaseContext"); }

STANDIN_API cl_command_queue CL_API_CALL clCreateCommandQueue(cl_context context, cl_device_id device,
                                                              cl_command_queue_properties properties,
                                                              cl_int* errcode_ret) {
    Lock hold(S().mutex);
    S().Log("clCreateCommandQueue");
    if (!S().As<Context>(context)) return Failed<_cl_command_queue>(CL_INVALID_CONTEXT, errcode_ret);
    if (!S().As<Device>(device)) return Failed<_cl_command_queue>(CL_INVALID_DEVICE, errcode_ret);
    return Created(reinterpret_cast<cl_command_queue>(S().Make<Queue>("queue")), errcode_ret);
}

STANDIN_API cl_int CL_API_CALL clReleaseCommandQueue(cl_command_queue command_queue) {
    return Release(command_queue, "clReleaseCommandQueue");
}

STANDIN_API cl_mem CL_API_CALL clCreateBuffer(cl_context context, cl_mem_flags flags, size_t size, void* host_ptr,
                                              cl_int* errcode_ret) {
    Lock hold(S().mutex);
    if (!S().As<Context>(context)) {
        S().Log("clCreateBuffer failed");
        return Failed<_cl_mem>(CL_INVALID_CONTEXT, errcode_ret);
    }
    if (size == 0) {
        S().Log("clCreateBuffer failed");
        return Failed<_cl_mem>(CL_INVALID_BUFFER_SIZE, errcode_ret);
    }
    Mem* m = S().Make<Mem>("mem");
    m->bytes.assign(size, 0);
    if (host_ptr && (flags & CL_MEM_COPY_HOST_PTR)) std::memcpy(m->bytes.data(), host_ptr, size);
    S().Log("clCreateBuffer " + m->Tag() + " flags=" + Hex(flags) + " size=" + std::to_string(size));
    return Created(reinterpret_cast<cl_mem>(m), errcode_ret);
}

STANDIN_API cl_int CL_API_CALL clReleaseMemObject(cl_mem memobj) { return Release(memobj, "clReleaseMemObject"); }

STANDIN_API cl_int CL_API_CALL clEnqueueReadBuffer(cl_command_queue command_queue, cl_mem buffer,
                                                   cl_bool blocking_read, size_t offset, size_t size, void* ptr,
                                                   cl_uint num_events_in_wait_list,
                                                   const cl_event* event_wait_list, cl_event* event) {
    Lock hold(S().mutex);
    S().Log("clEnqueueReadBuffer " + S().TagOf(buffer));
    Mem* m = S().As<Mem>(buffer);
    if (!S().As<Queue>(command_queue)) return CL_INVALID_COMMAND_QUEUE;
    if (!m) return CL_INVALID_MEM_OBJECT;
    if (offset + size > m->bytes.size() || !ptr) return CL_INVALID_VALUE;
    std::memcpy(ptr, m->bytes.data() + offset, size);
    if (event) *event = reinterpret_cast<cl_event>(S().Make<Event>("event"));
    return CL_SUCCESS;
}

STANDIN_API cl_int CL_API_CALL clEnqueueWriteBuffer(cl_command_queue command_queue, cl_mem buffer,
                                                    cl_bool blocking_write, size_t offset, size_t size,
                                                    const void* ptr, cl_uint num_events_in_wait_list,
                                                    const cl_event* event_wait_list, cl_event* event) {
    Lock hold(S().mutex);
    S().Log("clEnqueueWriteBuffer " + S().TagOf(buffer));
    Mem* m = S().As<Mem>(buffer);
    if (!S().As<Queue>(command_queue)) return CL_INVALID_COMMAND_QUEUE;
    if (!m) return CL_INVALID_MEM_OBJECT;
    if (offset + size > m->bytes.size() || !ptr) return CL_INVALID_VALUE;
    std::memcpy(m->bytes.data() + offset, ptr, size);
    if (event) *event = reinterpret_cast<cl_event>(S().Make<Event>("event"));
    return CL_SUCCESS;
}

STANDIN_API cl_int CL_API_CALL clEnqueueCopyBuffer(cl_command_queue command_queue, cl_mem src_buffer,
                                                   cl_mem dst_buffer, size_t src_offset, size_t dst_offset,
                                                   size_t size, cl_uint num_events_in_wait_list,
                                                   const cl_event* event_wait_list, cl_event* event) {
    Lock hold(S().mutex);
    S().Log("clEnqueueCopyBuffer " + S().TagOf(src_buffer) + " " + S().TagOf(dst_buffer) + " " +
            std::to_string(src_offset) + " " + std::to_string(dst_offset) + " " + std::to_string(size));
    Mem* s = S().As<Mem>(src_buffer);
    Mem* d = S().As<Mem>(dst_buffer);
    if (!S().As<Queue>(command_queue)) return CL_INVALID_COMMAND_QUEUE;
    if (!s || !d) return CL_INVALID_MEM_OBJECT;
    if (src_offset + size > s->bytes.size() || dst_offset + size > d->bytes.size()) return CL_INVALID_VALUE;
    std::memmove(d->bytes.data() + dst_offset, s->bytes.data() + src_offset, size);
    if (event) *event = reinterpret_cast<cl_event>(S().Make<Event>("event"));
    return CL_SUCCESS;
}

STANDIN_API cl_int CL_API_CALL clFinish(cl_command_queue command_queue) {
    Lock hold(S().mutex);
    S().Log("clFinish " + S().TagOf(command_queue));
    return S().As<Queue>(command_queue) ? CL_SUCCESS : CL_INVALID_COMMAND_QUEUE;
}

// ---- programs ----

STANDIN_API cl_program CL_API_CALL clCreateProgramWithSource(cl_context context, cl_uint count,
                                                             const char** strings, const size_t* lengths,
                                                             cl_int* errcode_ret) {
    Lock hold(S().mutex);
    if (!S().As<Context>(context)) {
        S().Log("clCreateProgramWithSource failed");
        return Failed<_cl_program>(CL_INVALID_CONTEXT, errcode_ret);
    }
    if (count == 0 || !strings) {
        S().Log("clCreateProgramWithSource failed");
        return Failed<_cl_program>(CL_INVALID_VALUE, errcode_ret);
    }
    Program* p = S().Make<Program>("program");
    for (cl_uint i = 0; i < count; ++i)
        p->source += lengths && lengths[i] ? std::string(strings[i], lengths[i]) : std::string(strings[i]);
    S().Log("clCreateProgramWithSource " + p->Tag() + " " + FirstLine(p->source));
    return Created(reinterpret_cast<cl_program>(p), errcode_ret);
}

STANDIN_API cl_program CL_API_CALL clCreateProgramWithBinary(cl_context context, cl_uint num_devices,
                                                             const cl_device_id* device_list, const size_t* lengths,
                                                             const unsigned char** binaries,
                                                             cl_int* binary_status, cl_int* errcode_ret) {
    Lock hold(S().mutex);
    const size_t length = lengths && num_devices ? lengths[0] : 0;
    if (!S().As<Context>(context)) {
        S().Log("clCreateProgramWithBinary failed");
        return Failed<_cl_program>(CL_INVALID_CONTEXT, errcode_ret);
    }
    if (num_devices != 1 || !device_list || !S().As<Device>(device_list[0])) {
        S().Log("clCreateProgramWithBinary failed");
        return Failed<_cl_program>(CL_INVALID_DEVICE, errcode_ret);
    }
    if (length == 0 || !binaries || !binaries[0]) {
        S().Log("clCreateProgramWithBinary length=" + std::to_string(length) + " failed");
        return Failed<_cl_program>(CL_INVALID_VALUE, errcode_ret);
    }
    Program* p = S().Make<Program>("program");
    p->fromBinary = true;
    p->binary.assign(reinterpret_cast<const char*>(binaries[0]), length);
    const bool valid = p->binary.compare(0, std::strlen(STANDIN_BINARY_MAGIC), STANDIN_BINARY_MAGIC) == 0;
    if (binary_status) binary_status[0] = valid ? CL_SUCCESS : CL_INVALID_BINARY;
    S().Log("clCreateProgramWithBinary " + p->Tag() + " length=" + std::to_string(length));
    return Created(reinterpret_cast<cl_program>(p), errcode_ret);
}

STANDIN_API cl_int CL_API_CALL clReleaseProgram(cl_program program) { return Release(program, "clReleaseProgram"); }

STANDIN_API cl_int CL_API_CALL clBuildProgram(cl_program program, cl_uint num_devices, const cl_device_id* device_list,
                                              const char* options,
                                              void(CL_CALLBACK* pfn_notify)(cl_program program, void* user_data),
                                              void* user_data) {
    Lock hold(S().mutex);
    Program* p = S().As<Program>(program);
    std::string line = "clBuildProgram " + S().TagOf(program) + " devices=" + std::to_string(num_devices) +
                       " options=" + (options ? options : "null") + " notify=" + (pfn_notify ? "set" : "null");
    cl_int result = CL_SUCCESS;
    if (!p) {
        result = CL_INVALID_PROGRAM;
    } else if (p->fromBinary) {
        const size_t magic = std::strlen(STANDIN_BINARY_MAGIC);
        if (p->binary.compare(0, magic, STANDIN_BINARY_MAGIC) != 0)
            result = CL_INVALID_BINARY;
        else
            p->source = p->binary.substr(magic);
    }
    if (result == CL_SUCCESS && (S().Option("FailBuilds") || p->source.find("#error") != std::string::npos))
        result = CL_BUILD_PROGRAM_FAILURE;
    if (p && result == CL_SUCCESS) p->built = true;
    S().Log(line + (result == CL_SUCCESS ? " ok" : " failed"));
    return result;
}

STANDIN_API cl_int CL_API_CALL clGetProgramInfo(cl_program program, cl_program_info param_name,
                                                size_t param_value_size, void* param_value,
                                                size_t* param_value_size_ret) {
    Lock hold(S().mutex);
    Program* p = S().As<Program>(program);
    S().Log("clGetProgramInfo " + S().TagOf(program) + " " + Hex(param_name) + " size=" +
            std::to_string(param_value_size));
    if (!p) return CL_INVALID_PROGRAM;
    const std::string binary = p->built ? STANDIN_BINARY_MAGIC + p->source : std::string();
    switch (param_name) {
    case CL_PROGRAM_NUM_DEVICES: {
        const cl_uint one = 1;
        return Answer(&one, sizeof one, param_value_size, param_value, param_value_size_ret);
    }
    case CL_PROGRAM_BINARY_SIZES: {
        const size_t size = S().Option("BinarySizeZero") ? 0 : binary.size();
        return Answer(&size, sizeof size, param_value_size, param_value, param_value_size_ret);
    }
    case CL_PROGRAM_BINARIES: {
        if (param_value_size_ret) *param_value_size_ret = sizeof(unsigned char*);
        if (!param_value) return CL_SUCCESS;
        if (param_value_size < sizeof(unsigned char*)) return CL_INVALID_VALUE;
        unsigned char* out = static_cast<unsigned char**>(param_value)[0];
        if (out && !S().Option("BinarySizeZero")) std::memcpy(out, binary.data(), binary.size());
        return CL_SUCCESS;
    }
    case CL_PROGRAM_SOURCE:
        return AnswerText(p->source, param_value_size, param_value, param_value_size_ret);
    default:
        return CL_INVALID_VALUE;
    }
}

// ---- kernels and launches ----

STANDIN_API cl_kernel CL_API_CALL clCreateKernel(cl_program program, const char* kernel_name, cl_int* errcode_ret) {
    Lock hold(S().mutex);
    Program* p = S().As<Program>(program);
    const std::string name = kernel_name ? kernel_name : "null";
    cl_int result = CL_SUCCESS;
    if (!p)
        result = CL_INVALID_PROGRAM;
    else if (!p->built)
        result = CL_INVALID_PROGRAM_EXECUTABLE;
    else if (!kernel_name || !HasKernel(p->source, name))
        result = CL_INVALID_KERNEL_NAME;
    if (result != CL_SUCCESS) {
        S().Log("clCreateKernel " + name + " failed");
        return Failed<_cl_kernel>(result, errcode_ret);
    }
    Kernel* k = S().Make<Kernel>("kernel");
    k->program = p;
    k->name = name;
    S().Log("clCreateKernel " + name + " ok " + k->Tag());
    return Created(reinterpret_cast<cl_kernel>(k), errcode_ret);
}

STANDIN_API cl_int CL_API_CALL clReleaseKernel(cl_kernel kernel) { return Release(kernel, "clReleaseKernel"); }

STANDIN_API cl_int CL_API_CALL clSetKernelArg(cl_kernel kernel, cl_uint arg_index, size_t arg_size,
                                              const void* arg_value) {
    Lock hold(S().mutex);
    Kernel* k = S().As<Kernel>(kernel);
    std::string value = "null";
    if (arg_value && arg_size == sizeof(void*)) {
        void* handle;
        std::memcpy(&handle, arg_value, sizeof handle);
        value = S().TagOf(handle);
    } else if (arg_value && arg_size == sizeof(cl_int)) {
        cl_int v;
        std::memcpy(&v, arg_value, sizeof v);
        value = std::to_string(v);
    }
    S().Log("clSetKernelArg " + (k ? k->name : S().TagOf(kernel)) + " " + std::to_string(arg_index) +
            " size=" + std::to_string(arg_size) + " " + value);
    return k ? CL_SUCCESS : CL_INVALID_KERNEL;
}

STANDIN_API cl_int CL_API_CALL clEnqueueNDRangeKernel(cl_command_queue command_queue, cl_kernel kernel,
                                                      cl_uint work_dim, const size_t* global_work_offset,
                                                      const size_t* global_work_size, const size_t* local_work_size,
                                                      cl_uint num_events_in_wait_list,
                                                      const cl_event* event_wait_list, cl_event* event) {
    Lock hold(S().mutex);
    Kernel* k = S().As<Kernel>(kernel);
    std::string line = "clEnqueueNDRangeKernel " + (k ? k->name : S().TagOf(kernel)) + " " +
                       S().TagOf(command_queue) + " dim=" + std::to_string(work_dim) +
                       " offset=" + (global_work_offset ? "set" : "null") + " global=";
    for (cl_uint i = 0; global_work_size && i < work_dim && i < 3; ++i)
        line += (i ? "x" : "") + std::to_string(global_work_size[i]);
    line += std::string(" local=") + (local_work_size ? "set" : "null") +
            " wait=" + std::to_string(num_events_in_wait_list);
    cl_int result = CL_SUCCESS;
    if (!S().As<Queue>(command_queue))
        result = CL_INVALID_COMMAND_QUEUE;
    else if (!k)
        result = CL_INVALID_KERNEL;
    else if (work_dim < 1 || work_dim > 3)
        result = CL_INVALID_WORK_DIMENSION;
    else if (!global_work_size || global_work_size[0] == 0)
        result = CL_INVALID_GLOBAL_WORK_SIZE;
    if (result != CL_SUCCESS) {
        S().Log(line + " failed");
        return result;
    }
    if (event) {
        Event* e = S().Make<Event>("event");
        *event = reinterpret_cast<cl_event>(e);
        line += " " + e->Tag();
    }
    S().Log(line);
    return CL_SUCCESS;
}

STANDIN_API cl_int CL_API_CALL clWaitForEvents(cl_uint num_events, const cl_event* event_list) {
    Lock hold(S().mutex);
    std::string line = "clWaitForEvents " + std::to_string(num_events);
    bool valid = num_events > 0 && event_list;
    for (cl_uint i = 0; event_list && i < num_events; ++i) {
        line += " " + S().TagOf(event_list[i]);
        if (!S().As<Event>(event_list[i])) valid = false;
    }
    S().Log(line);
    return valid ? CL_SUCCESS : CL_INVALID_EVENT;
}

STANDIN_API cl_int CL_API_CALL clReleaseEvent(cl_event event) {
    {
        Lock hold(S().mutex);
        if (!S().As<Event>(event)) {
            S().Log("clReleaseEvent " + S().TagOf(event) + " failed");
            return CL_INVALID_EVENT;
        }
    }
    return Release(event, "clReleaseEvent");
}

// ---- everything else answers CL_INVALID_OPERATION ----

STANDIN_API cl_context CL_API_CALL clCreateContextFromType(
    const cl_context_properties *properties, cl_device_type device_type,
    void(CL_CALLBACK *pfn_notify)(const char *errinfo, const void *private_info, size_t cb, void *user_data),
    void *user_data, cl_int *errcode_ret) {
    return UnsupportedObject<cl_context>("clCreateContextFromType", errcode_ret);
}
STANDIN_API cl_int CL_API_CALL clRetainContext(cl_context context) { return Unsupported("clRetainContext"); }
STANDIN_API cl_int CL_API_CALL clGetContextInfo(cl_context context, cl_context_info param_name, size_t param_value_size,
                                                void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetContextInfo");
}
STANDIN_API cl_command_queue CL_API_CALL clCreateCommandQueueWithProperties(cl_context context, cl_device_id device,
                                                                            const cl_queue_properties *properties,
                                                                            cl_int *errcode_ret) {
    return UnsupportedObject<cl_command_queue>("clCreateCommandQueueWithProperties", errcode_ret);
}
STANDIN_API cl_int CL_API_CALL clRetainCommandQueue(cl_command_queue command_queue) {
    return Unsupported("clRetainCommandQueue");
}
STANDIN_API cl_int CL_API_CALL clGetCommandQueueInfo(cl_command_queue command_queue, cl_command_queue_info param_name,
                                                     size_t param_value_size, void *param_value,
                                                     size_t *param_value_size_ret) {
    return Unsupported("clGetCommandQueueInfo");
}
STANDIN_API cl_int CL_API_CALL clSetCommandQueueProperty(cl_command_queue command_queue,
                                                         cl_command_queue_properties properties, cl_bool enable,
                                                         cl_command_queue_properties *old_properties) {
    return Unsupported("clSetCommandQueueProperty");
}
STANDIN_API cl_mem CL_API_CALL clCreateSubBuffer(cl_mem buffer, cl_mem_flags flags,
                                                 cl_buffer_create_type buffer_create_type,
                                                 const void *buffer_create_info, cl_int *errcode_ret) {
    return UnsupportedObject<cl_mem>("clCreateSubBuffer", errcode_ret);
}
STANDIN_API cl_mem CL_API_CALL clCreateImage2D(cl_context context, cl_mem_flags flags,
                                               const cl_image_format *image_format, size_t image_width,
                                               size_t image_height, size_t image_row_pitch, void *host_ptr,
                                               cl_int *errcode_ret) {
    return UnsupportedObject<cl_mem>("clCreateImage2D", errcode_ret);
}
#ifndef STANDIN_OMIT_CREATE_IMAGE_3D
STANDIN_API cl_mem CL_API_CALL clCreateImage3D(cl_context context, cl_mem_flags flags,
                                               const cl_image_format *image_format, size_t image_width,
                                               size_t image_height, size_t image_depth, size_t image_row_pitch,
                                               size_t image_slice_pitch, void *host_ptr, cl_int *errcode_ret) {
    return UnsupportedObject<cl_mem>("clCreateImage3D", errcode_ret);
}
#endif
STANDIN_API cl_mem CL_API_CALL clCreatePipe(cl_context context, cl_mem_flags flags, cl_uint pipe_packet_size,
                                            cl_uint pipe_max_packets, const cl_pipe_properties *properties,
                                            cl_int *errcode_ret) {
    return UnsupportedObject<cl_mem>("clCreatePipe", errcode_ret);
}
STANDIN_API cl_int CL_API_CALL clRetainMemObject(cl_mem memobj) { return Unsupported("clRetainMemObject"); }
STANDIN_API cl_int CL_API_CALL clGetSupportedImageFormats(cl_context context, cl_mem_flags flags,
                                                          cl_mem_object_type image_type, cl_uint num_entries,
                                                          cl_image_format *image_formats, cl_uint *num_image_formats) {
    return Unsupported("clGetSupportedImageFormats");
}
STANDIN_API cl_int CL_API_CALL clGetMemObjectInfo(cl_mem memobj, cl_mem_info param_name, size_t param_value_size,
                                                  void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetMemObjectInfo");
}
STANDIN_API cl_int CL_API_CALL clGetImageInfo(cl_mem image, cl_image_info param_name, size_t param_value_size,
                                              void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetImageInfo");
}
STANDIN_API cl_int CL_API_CALL clGetPipeInfo(cl_mem pipe, cl_pipe_info param_name, size_t param_value_size,
                                             void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetPipeInfo");
}
STANDIN_API cl_int CL_API_CALL clSetMemObjectDestructorCallback(
    cl_mem memobj, void(CL_CALLBACK *pfn_notify)(cl_mem memobj, void *user_data), void *user_data) {
    return Unsupported("clSetMemObjectDestructorCallback");
}
STANDIN_API void *CL_API_CALL clSVMAlloc(cl_context context, cl_svm_mem_flags flags, size_t size, cl_uint alignment) {
    return UnsupportedObject<void *>("clSVMAlloc", nullptr);
}
STANDIN_API void CL_API_CALL clSVMFree(cl_context context, void *svm_pointer) { Unsupported("clSVMFree"); }
STANDIN_API cl_sampler CL_API_CALL clCreateSampler(cl_context context, cl_bool normalized_coords,
                                                   cl_addressing_mode addressing_mode, cl_filter_mode filter_mode,
                                                   cl_int *errcode_ret) {
    return UnsupportedObject<cl_sampler>("clCreateSampler", errcode_ret);
}
STANDIN_API cl_sampler CL_API_CALL clCreateSamplerWithProperties(cl_context context,
                                                                 const cl_sampler_properties *sampler_properties,
                                                                 cl_int *errcode_ret) {
    return UnsupportedObject<cl_sampler>("clCreateSamplerWithProperties", errcode_ret);
}
STANDIN_API cl_int CL_API_CALL clRetainSampler(cl_sampler sampler) { return Unsupported("clRetainSampler"); }
STANDIN_API cl_int CL_API_CALL clReleaseSampler(cl_sampler sampler) { return Unsupported("clReleaseSampler"); }
STANDIN_API cl_int CL_API_CALL clGetSamplerInfo(cl_sampler sampler, cl_sampler_info param_name, size_t param_value_size,
                                                void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetSamplerInfo");
}
STANDIN_API cl_int CL_API_CALL clRetainProgram(cl_program program) { return Unsupported("clRetainProgram"); }
STANDIN_API cl_int CL_API_CALL clUnloadCompiler(void) { return Unsupported("clUnloadCompiler"); }
STANDIN_API cl_int CL_API_CALL clGetProgramBuildInfo(cl_program program, cl_device_id device,
                                                     cl_program_build_info param_name, size_t param_value_size,
                                                     void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetProgramBuildInfo");
}
STANDIN_API cl_int CL_API_CALL clCreateKernelsInProgram(cl_program program, cl_uint num_kernels, cl_kernel *kernels,
                                                        cl_uint *num_kernels_ret) {
    return Unsupported("clCreateKernelsInProgram");
}
STANDIN_API cl_int CL_API_CALL clRetainKernel(cl_kernel kernel) { return Unsupported("clRetainKernel"); }
STANDIN_API cl_int CL_API_CALL clSetKernelArgSVMPointer(cl_kernel kernel, cl_uint arg_index, const void *arg_value) {
    return Unsupported("clSetKernelArgSVMPointer");
}
STANDIN_API cl_int CL_API_CALL clSetKernelExecInfo(cl_kernel kernel, cl_kernel_exec_info param_name,
                                                   size_t param_value_size, const void *param_value) {
    return Unsupported("clSetKernelExecInfo");
}
STANDIN_API cl_int CL_API_CALL clGetKernelInfo(cl_kernel kernel, cl_kernel_info param_name, size_t param_value_size,
                                               void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetKernelInfo");
}
STANDIN_API cl_int CL_API_CALL clGetKernelWorkGroupInfo(cl_kernel kernel, cl_device_id device,
                                                        cl_kernel_work_group_info param_name, size_t param_value_size,
                                                        void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetKernelWorkGroupInfo");
}
STANDIN_API cl_int CL_API_CALL clGetEventInfo(cl_event event, cl_event_info param_name, size_t param_value_size,
                                              void *param_value, size_t *param_value_size_ret) {
    return Unsupported("clGetEventInfo");
}
STANDIN_API cl_event CL_API_CALL clCreateUserEvent(cl_context context, cl_int *errcode_ret) {
    return UnsupportedObject<cl_event>("clCreateUserEvent", errcode_ret);
}
STANDIN_API cl_int CL_API_CALL clRetainEvent(cl_event event) { return Unsupported("clRetainEvent"); }
STANDIN_API cl_int CL_API_CALL clSetUserEventStatus(cl_event event, cl_int execution_status) {
    return Unsupported("clSetUserEventStatus");
}
STANDIN_API cl_int CL_API_CALL clSetEventCallback(
    cl_event event, cl_int command_exec_callback_type,
    void(CL_CALLBACK *pfn_notify)(cl_event event, cl_int event_command_status, void *user_data), void *user_data) {
    return Unsupported("clSetEventCallback");
}
STANDIN_API cl_int CL_API_CALL clGetEventProfilingInfo(cl_event event, cl_profiling_info param_name,
                                                       size_t param_value_size, void *param_value,
                                                       size_t *param_value_size_ret) {
    return Unsupported("clGetEventProfilingInfo");
}
STANDIN_API cl_int CL_API_CALL clFlush(cl_command_queue command_queue) { return Unsupported("clFlush"); }
STANDIN_API cl_int CL_API_CALL clEnqueueReadBufferRect(cl_command_queue command_queue, cl_mem buffer,
                                                       cl_bool blocking_read, const size_t *buffer_origin,
                                                       const size_t *host_origin, const size_t *region,
                                                       size_t buffer_row_pitch, size_t buffer_slice_pitch,
                                                       size_t host_row_pitch, size_t host_slice_pitch, void *ptr,
                                                       cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                                       cl_event *event) {
    return Unsupported("clEnqueueReadBufferRect");
}
STANDIN_API cl_int CL_API_CALL clEnqueueWriteBufferRect(cl_command_queue command_queue, cl_mem buffer,
                                                        cl_bool blocking_write, const size_t *buffer_origin,
                                                        const size_t *host_origin, const size_t *region,
                                                        size_t buffer_row_pitch, size_t buffer_slice_pitch,
                                                        size_t host_row_pitch, size_t host_slice_pitch, const void *ptr,
                                                        cl_uint num_events_in_wait_list,
                                                        const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueWriteBufferRect");
}
STANDIN_API cl_int CL_API_CALL clEnqueueCopyBufferRect(
    cl_command_queue command_queue, cl_mem src_buffer, cl_mem dst_buffer, const size_t *src_origin,
    const size_t *dst_origin, const size_t *region, size_t src_row_pitch, size_t src_slice_pitch, size_t dst_row_pitch,
    size_t dst_slice_pitch, cl_uint num_events_in_wait_list, const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueCopyBufferRect");
}
STANDIN_API cl_int CL_API_CALL clEnqueueReadImage(cl_command_queue command_queue, cl_mem image, cl_bool blocking_read,
                                                  const size_t *origin, const size_t *region, size_t row_pitch,
                                                  size_t slice_pitch, void *ptr, cl_uint num_events_in_wait_list,
                                                  const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueReadImage");
}
STANDIN_API cl_int CL_API_CALL clEnqueueWriteImage(cl_command_queue command_queue, cl_mem image, cl_bool blocking_write,
                                                   const size_t *origin, const size_t *region, size_t input_row_pitch,
                                                   size_t input_slice_pitch, const void *ptr,
                                                   cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                                   cl_event *event) {
    return Unsupported("clEnqueueWriteImage");
}
STANDIN_API cl_int CL_API_CALL clEnqueueCopyImage(cl_command_queue command_queue, cl_mem src_image, cl_mem dst_image,
                                                  const size_t *src_origin, const size_t *dst_origin,
                                                  const size_t *region, cl_uint num_events_in_wait_list,
                                                  const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueCopyImage");
}
STANDIN_API cl_int CL_API_CALL clEnqueueCopyImageToBuffer(cl_command_queue command_queue, cl_mem src_image,
                                                          cl_mem dst_buffer, const size_t *src_origin,
                                                          const size_t *region, size_t dst_offset,
                                                          cl_uint num_events_in_wait_list,
                                                          const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueCopyImageToBuffer");
}
STANDIN_API cl_int CL_API_CALL clEnqueueCopyBufferToImage(cl_command_queue command_queue, cl_mem src_buffer,
                                                          cl_mem dst_image, size_t src_offset, const size_t *dst_origin,
                                                          const size_t *region, cl_uint num_events_in_wait_list,
                                                          const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueCopyBufferToImage");
}
STANDIN_API void *CL_API_CALL clEnqueueMapBuffer(cl_command_queue command_queue, cl_mem buffer, cl_bool blocking_map,
                                                 cl_map_flags map_flags, size_t offset, size_t size,
                                                 cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                                 cl_event *event, cl_int *errcode_ret) {
    return UnsupportedObject<void *>("clEnqueueMapBuffer", errcode_ret);
}
STANDIN_API void *CL_API_CALL clEnqueueMapImage(cl_command_queue command_queue, cl_mem image, cl_bool blocking_map,
                                                cl_map_flags map_flags, const size_t *origin, const size_t *region,
                                                size_t *image_row_pitch, size_t *image_slice_pitch,
                                                cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                                cl_event *event, cl_int *errcode_ret) {
    return UnsupportedObject<void *>("clEnqueueMapImage", errcode_ret);
}
STANDIN_API cl_int CL_API_CALL clEnqueueUnmapMemObject(cl_command_queue command_queue, cl_mem memobj, void *mapped_ptr,
                                                       cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                                       cl_event *event) {
    return Unsupported("clEnqueueUnmapMemObject");
}
STANDIN_API cl_int CL_API_CALL clEnqueueTask(cl_command_queue command_queue, cl_kernel kernel,
                                             cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                             cl_event *event) {
    return Unsupported("clEnqueueTask");
}
STANDIN_API cl_int CL_API_CALL clEnqueueNativeKernel(cl_command_queue command_queue,
                                                     void(CL_CALLBACK *user_func)(void *), void *args, size_t cb_args,
                                                     cl_uint num_mem_objects, const cl_mem *mem_list,
                                                     const void **args_mem_loc, cl_uint num_events_in_wait_list,
                                                     const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueNativeKernel");
}
STANDIN_API cl_int CL_API_CALL clEnqueueMarker(cl_command_queue command_queue, cl_event *event) {
    return Unsupported("clEnqueueMarker");
}
STANDIN_API cl_int CL_API_CALL clEnqueueWaitForEvents(cl_command_queue command_queue, cl_uint num_events,
                                                      const cl_event *event_list) {
    return Unsupported("clEnqueueWaitForEvents");
}
STANDIN_API cl_int CL_API_CALL clEnqueueBarrier(cl_command_queue command_queue) {
    return Unsupported("clEnqueueBarrier");
}
STANDIN_API cl_int CL_API_CALL clEnqueueSVMFree(cl_command_queue command_queue, cl_uint num_svm_pointers,
                                                void *svm_pointers[],
                                                void(CL_CALLBACK *pfn_free_func)(cl_command_queue queue,
                                                                                 cl_uint num_svm_pointers,
                                                                                 void *svm_pointers[], void *user_data),
                                                void *user_data, cl_uint num_events_in_wait_list,
                                                const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueSVMFree");
}
STANDIN_API cl_int CL_API_CALL clEnqueueSVMMap(cl_command_queue command_queue, cl_bool blocking_map, cl_map_flags flags,
                                               void *svm_ptr, size_t size, cl_uint num_events_in_wait_list,
                                               const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueSVMMap");
}
STANDIN_API cl_int CL_API_CALL clEnqueueSVMMemcpy(cl_command_queue command_queue, cl_bool blocking_copy, void *dst_ptr,
                                                  const void *src_ptr, size_t size, cl_uint num_events_in_wait_list,
                                                  const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueSVMMemcpy");
}
#ifndef STANDIN_OMIT_ENQUEUE_SVM_MEM_FILL
STANDIN_API cl_int CL_API_CALL clEnqueueSVMMemFill(cl_command_queue command_queue, void *svm_ptr, const void *pattern,
                                                   size_t pattern_size, size_t size, cl_uint num_events_in_wait_list,
                                                   const cl_event *event_wait_list, cl_event *event) {
    return Unsupported("clEnqueueSVMMemFill");
}
#endif
STANDIN_API cl_int CL_API_CALL clEnqueueSVMUnmap(cl_command_queue command_queue, void *svm_ptr,
                                                 cl_uint num_events_in_wait_list, const cl_event *event_wait_list,
                                                 cl_event *event) {
    return Unsupported("clEnqueueSVMUnmap");
}
STANDIN_API void *CL_API_CALL clGetExtensionFunctionAddress(const char *func_name) {
    return UnsupportedObject<void *>("clGetExtensionFunctionAddress", nullptr);
}
