/** @mainpage Q7Plugin
 *
 * Q7Plugin: hand a scene from a 3D content-creation application to Q7 Render or to disk.
 *
 * Conventions, which hold for every function unless its own text says otherwise:
 *
 * - Sessions: a session is the opaque pointer that CreateSession returns. Sessions are independent,
 *   but for the process-wide values named below. The handle must be one that is alive; it is not
 *   tested.
 * - Text: strings are zero-terminated UTF-16 (Q7Char: wchar_t on Windows, char16_t elsewhere) and
 *   must not be null. Any sequence of code units is allowed, unpaired surrogates included; where
 *   text becomes UTF-8 each of those is written as U+FFFD.
 * - Ownership: strings and arrays are copied before the call returns. The one exception is the
 *   transform of the four begin-node functions, which is kept by address until the node ends.
 * - Counts: arrays come as a pointer and a count of scalars (single floats, bytes or indices), never
 *   of vertices. A negative count throws std::length_error "vector too long".
 * - Transforms: 16 floats, four rows of four; points are row vectors, so the translation stands in
 *   elements 12, 13 and 14. A null transform means the identity.
 * - Silence: bad input, unknown names and files that cannot be opened make a function do nothing.
 *   There is no last-error call, and no error text but the few lines on the standard streams that
 *   single functions name; "Nothing happens when" tells the cases.
 * - Exceptions: nothing is caught at this boundary. std::bad_alloc, and the std::length_error,
 *   std::out_of_range and std::invalid_argument that single functions name, reach the caller. On
 *   Windows a host can rely on catching them only when host and library are built with the same
 *   compiler family: not even catch (...) of MSVC catches an exception of a MinGW build. The library
 *   must stay loaded until the exception is destroyed.
 * - Threads' settings: locale, floating-point settings (exceptions that stop, rounding, tiny numbers as
 *   zero) and signals stay as the host has them and change no byte of what is written; a pipe whose
 *   reader has gone does not end the process. errno and the last error of Windows mean nothing to the
 *   library, and a call may leave anything in them: save what you need. 256 KiB of stack are enough.
 * - Threads: no function takes a lock that a host could wait for. A session belongs to one thread at a
 *   time; several sessions may build and save on several threads at once. Shared by all sessions of the
 *   process without protection, so that only one thread at a time may call what uses it:
 *     - the text of Q7SetDccPluginInfo: every save and send reads it
 *     - the path last given to SetModelFilePath: Q7ProcessedSyncConnect reads it
 *     - the link to the renderer: SetQ7RenderPath, StartLinkQ7Render, GetQ7RenderStatus,
 *       GetSendModelType, the connect functions, DisConnect, the sends, and all messages
 *     - what is known of the renderer's window: Q7RenderWindowSize
 *
 *   All else that needs no session may be called on any thread at any time.
 * - Sizes: an array may be larger than 4 GiB, and so may a file. A count in a stream is cut to its low 32
 *   bits: a mesh of more than 4294967295 floats in one array makes a stream that nobody can read. So is
 *   the size of the block of a live send, and what does not fit into it is not written: no array that
 *   is to arrive may have 4 GiB or more.
 *
 * The header is C and C++. The functions that exist in C++ only are marked so.
 */

/** @file
 *  The whole interface of the library. The conventions above hold for every function. */
#ifndef Q7PLUGIN_H
#define Q7PLUGIN_H

#include <stddef.h>
#include <stdint.h>

/** One UTF-16 code unit, and the type of the literals: L"..." on Windows, u"..." elsewhere. */
#if defined(_WIN32)
typedef wchar_t Q7Char;
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
typedef char16_t Q7Char;
#endif

/** Q7_API marks what the library exports. On Windows the export list does the exporting. */
#if defined(_MSC_VER) && !defined(Q7PLUGIN_BUILD)
#define Q7_API __declspec(dllimport)
#elif defined(_WIN32)
#define Q7_API
#else
#define Q7_API __attribute__((visibility("default")))
#endif

/** Exceptions pass through the exports. Under /EHsc, MSVC and clang-cl assume that functions of C
 * linkage never throw, and drop the caller's handlers, unless the declaration says otherwise. */
#ifdef __cplusplus
#define Q7_MAY_THROW noexcept(false)
#else
#define Q7_MAY_THROW
#endif

/** The exports whose names encode their argument types have the names that MSVC gives them, with
 * every Windows compiler. GCC hands the name to the assembler, which needs quotes around these
 * characters, and cannot take the address of such a function (GetProcAddress gives that); clang would
 * make the quotes a part of the name. */
#if defined(__MINGW32__) && defined(__clang__)
#define Q7_SYMBOL(name) __asm__(name)
#elif defined(__MINGW32__)
#define Q7_SYMBOL(name) __asm__("\"" name "\"")
#else
#define Q7_SYMBOL(name)
#endif

/** Order of the axes in a host's triples: the letters tell where each stored component comes from. */
#ifdef __cplusplus
enum class CoordOrder : int32_t {
    XYZ = 0, /**< stored as given */
    XZY = 1, /**< (x, y, z) is stored as (x, z, y) */
    YXZ = 2, /**< (x, y, z) is stored as (y, x, z) */
    YZX = 3, /**< (x, y, z) is stored as (y, z, x) */
    ZXY = 4, /**< (x, y, z) is stored as (z, x, y) */
    ZYX = 5  /**< (x, y, z) is stored as (z, y, x) */
};
#else
typedef int32_t CoordOrder;
enum {
    CoordOrder_XYZ = 0,
    CoordOrder_XZY = 1,
    CoordOrder_YXZ = 2,
    CoordOrder_YZX = 3,
    CoordOrder_ZXY = 4,
    CoordOrder_ZYX = 5
};
#endif

/** What a connect function gives. */
#ifdef __cplusplus
enum ConnectRet : int32_t {
    ConnectRet_Accepted = 0, /**< the renderer takes the model, or cannot be reached at all */
    ConnectRet_RefusedByReply3 = 2, /**< the renderer answered 3 */
    ConnectRet_RefusedByReply2 = 4, /**< the renderer answered 2 */
    ConnectRet_RefusedByReply1 = 6, /**< the renderer answered 1 */
    ConnectRet_Failed = 7           /**< the renderer gave no answer, or another one */
};
#else
typedef int32_t ConnectRet;
enum {
    ConnectRet_Accepted = 0,
    ConnectRet_RefusedByReply3 = 2,
    ConnectRet_RefusedByReply2 = 4,
    ConnectRet_RefusedByReply1 = 6,
    ConnectRet_Failed = 7
};
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Sessions -------------------------------------------------------------------------------- */

/** @defgroup sessions Sessions
 *  @{ */

/** Makes a session with an empty model.
 *
 *  @return the session, never null. End it with DestroySession.
 *  @throws std::bad_alloc when memory runs out. */
Q7_API void* CreateSession(void) Q7_MAY_THROW;

/** Ends a session and frees all that it holds. Values of the whole process stay, and so does a live
 *  connection: DisConnect first.
 *
 *  @param session a live session; null is not allowed. */
Q7_API void DestroySession(void* session) Q7_MAY_THROW;

/** Tells the version of this library.
 *
 *  @return "0.5.7.0", a constant that is never freed. Needs no session. */
Q7_API const char* Q7GetPluginVersion(void) Q7_MAY_THROW;

/** @} */

/* ---- Settings -------------------------------------------------------------------------------- */

/** @defgroup settings Settings
 *  @{ */

/** Names the file that the model belongs to, and makes the session's sends be of that main model.
 *
 *  @param path taken as it stands, not tested; may be empty. The last path given here by any
 *      session is also remembered for the whole process, as the parent of relevant models. */
Q7_API void SetModelFilePath(void* session, const Q7Char* path) Q7_MAY_THROW;

/** Names the file of a model that is part of another one, the one last given to SetModelFilePath.
 *
 *  @param path taken as it stands, not tested; may be empty. The process-wide path stays. */
Q7_API void SetRelevantModelFilePath(void* session, const Q7Char* path) Q7_MAY_THROW;

/** Sets the folder of the model's textures, as the stream's header shows it.
 *
 *  @param path taken as it stands, not tested; may be empty. */
Q7_API void SetTextureFolder(void* session, const Q7Char* path) Q7_MAY_THROW;

/** Switches on or off that each live send of a model with instances carries one generated instance per
 *  material, so that the renderer also learns of materials that no geometry uses. Starts off.
 *
 *  @param flag 0 is off, any other value on. Takes effect at the next send. */
Q7_API void SetGenMatInstances(void* session, uint8_t flag) Q7_MAY_THROW;

/** Sets the text by which the host's plug-in names itself in the stream's header.
 *
 *  @param info replaces the text of the whole process; it starts empty. Needs no session. */
Q7_API void Q7SetDccPluginInfo(const Q7Char* info) Q7_MAY_THROW;

/** Chooses what an unknown material name becomes when a node ends. Set it before the first material.
 *
 *  @param version 0 (the start value) adds a text material with the default text, 1 adds a typed
 *      material without properties, any other value adds none, so that the instance is not made.
 *      Materials that exist stay as they are. The stream's header shows the version plus 1, and
 *      with version 1 the material file has a root element. */
Q7_API void Q7SetMaterialVersion(void* session, uint32_t version) Q7_MAY_THROW;

/** @} */

/* ---- The renderer ---------------------------------------------------------------------------- */

/** @defgroup renderer The renderer
 *
 *  The link to the renderer is one for the process: one connection at a time, shared by all sessions
 *  without protection. A renderer that is not there, or goes away, shows in no function but those that
 *  return something here: what is sent then goes nowhere.
 *  @{ */

/** Tells the library where the renderer is installed.
 *
 *  @param path the folder; kept when launcher, viewer and engine can be read in it. Otherwise the
 *      registered installation takes its place, if there is one.
 *
 *  @return 1 when a folder is known afterwards, else 0. Needs no session. */
Q7_API uint8_t SetQ7RenderPath(const Q7Char* path) Q7_MAY_THROW;

/** Links to the renderer: starts it when it does not run, waits until it is ready, hands it the
 *  plug-in's file and waits until it says that it is linked. Needs no session.
 *
 *  The version is that of the registered installation, also where SetQ7RenderPath named another one,
 *  and it is compared with 1.7.1 as a text: 1.10.0 is refused.
 *
 *  @param pluginFile the file handed over; also the launcher's parameter, unquoted, so that a path
 *      with blanks reaches the launcher as several arguments
 *
 *  @return 0 linked, 1 no installation found, 3 the installed version is not above 1.7.1, 4 the
 *      renderer takes no link, 5 its update runs, 6 it refused the hand-over, 7 the link failed
 *      (tried twice, 3 seconds apart), 8 it has no port or cannot be connected to.
 *
 *  Blocks its caller for as long as the renderer needs to start, without a limit, and prints the
 *  renderer's status on standard output at each of its polls, 0.3 seconds apart. */
Q7_API uint32_t StartLinkQ7Render(const Q7Char* pluginFile) Q7_MAY_THROW;

/** Tells the renderer's status as it is now. Needs no session.
 *
 *  @param flag where to store the low byte of the renderer's flag, which is then cleared, so that
 *      it is shown once and a StartLinkQ7Render that runs meanwhile may miss it; null leaves the
 *      flag alone. Without a renderer the last value is stored.
 *
 *  @return 0 not available, 1 waits for a plug-in file, 2 takes no link, 4 linked; any other value
 *      is a renderer that is not ready. */
Q7_API uint32_t GetQ7RenderStatus(uint8_t* flag) Q7_MAY_THROW;

/** Tells the version of the registered installation, read anew at each call. Needs no session.
 *
 *  @param buffer where to store the text and its terminator; not touched when size is too small;
 *      may be null
 *  @param size of the buffer in characters. The text is stored when it is at least the text's
 *      length, and then its terminator too: give the buffer one character more than you tell.
 *
 *  @return the text's length plus 1; without an installation that is 1. */
Q7_API uint32_t Q7GetRenderVersion(Q7Char* buffer, uint32_t size) Q7_MAY_THROW;

/** The same function as Q7RawSyncConnect. */
Q7_API ConnectRet Connect(void* session) Q7_MAY_THROW;

/** Opens the connection for Q7SendRaw, on the port that the library read last: StartLinkQ7Render reads
 *  it, and each connect or send that fails.
 *
 *  @return a ConnectRet. A renderer that cannot be reached counts as connected: the send that
 *      follows goes nowhere, and the port is read anew for the next attempt.
 *  @throws std::invalid_argument "invalid stoi argument" when one of the first two parts of the
 *      installed version does not begin with a number, as in "v2.4" or "2.", or std::out_of_range
 *      "stoi argument out of range" when its number does not fit into 32 bits. No installed version
 *      throws nothing.
 *
 *  Blocks until the renderer answers. A connection that is still open is closed first. */
Q7_API ConnectRet Q7RawSyncConnect(void* session) Q7_MAY_THROW;

/** Opens the connection for Q7SendProcessed; for a path of SetRelevantModelFilePath it also names the
 *  main model, the path last given to SetModelFilePath.
 *
 *  @return a ConnectRet, as Q7RawSyncConnect does. */
Q7_API ConnectRet Q7ProcessedSyncConnect(void* session) Q7_MAY_THROW;

#ifdef __cplusplus
} /* extern "C" */

/** Opens the connection for a group of models, which Q7SendProcessed sends. C++ only.
 *
 *  @return a ConnectRet, as Q7RawSyncConnect does. */
Q7_API ConnectRet Q7GroupSyncConnect(void* session)
    Q7_SYMBOL("?Q7GroupSyncConnect@@YA?AW4ConnectRet@@PEAX@Z");

extern "C" {
#endif

/** Closes the connection that a connect function opened.
 *
 *  Nothing happens when HasConnected is 0. */
Q7_API void DisConnect(void* session) Q7_MAY_THROW;

/** Tells whether a connect function succeeded since the last DisConnect, without probing the
 *  connection.
 *
 *  @return 1 or 0. */
Q7_API uint8_t HasConnected(void* session) Q7_MAY_THROW;

/** Asks the renderer, on a connection of its own, how it wants a model.
 *
 *  @param name handed to the renderer; null is allowed
 *
 *  @return the renderer's answer, and 0 for a negative or no answer, for a null name, and while a
 *      connection is open. Blocks until the renderer answers or closes. */
Q7_API int32_t GetSendModelType(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Sends the model as it stands over the open connection. Instances of deleted nodes leave the model
 *  first; afterwards all meshes without an instance leave it, those of AddMesh too. Instances whose
 *  transform is sheared or scales beyond 0.001 to 100 travel as meshes of their own, already
 *  transformed.
 *
 *  Mesh names that begin with "@q7fix@", and "@g@m@q7_", are the library's own: a host's mesh that
 *  takes one of the first keeps an instance from being transformed, one of the second is overwritten.
 *  A renderer of version 2.4 or later, or of a version that cannot be read, gets the model twice in a
 *  row, first with the instance paths. On a connection that Q7RawSyncConnect did not open the renderer
 *  may wait for something else and block the caller for good.
 *  Nothing is sent of a model without instances. Throws as Q7RawSyncConnect does.
 *  Cost: each mesh takes five round trips to the renderer; a renderer that does not answer blocks the
 *  caller. */
Q7_API void Q7SendRaw(void* session) Q7_MAY_THROW;

/** The same function as Q7SendRaw. */
Q7_API void SendModel(void* session) Q7_MAY_THROW;

/** Sends a merged copy of the model, as Q7SaveProcessedToFile describes it, over the open connection;
 *  otherwise as Q7SendRaw does, once and without instance paths. */
Q7_API void Q7SendProcessed(void* session) Q7_MAY_THROW;

/** @} */

/* ---- Whole meshes, text materials, scene records --------------------------------------------- */

/** @defgroup meshes Whole meshes, text materials, scene records
 *  @{ */

#ifdef __cplusplus
} /* extern "C" */

/** Adds a mesh, or replaces the arrays of the mesh of that name. C++ only.
 *
 *  @param name the identity of the mesh. Instances that use it see the new arrays. Q7EndNode tells
 *      the names of the meshes of nodes: one of those is updated here, and a mesh that has such a
 *      name is updated when the node ends.
 *  @param positions 3 floats a vertex; positionCount is a multiple of 3
 *  @param normals 3 floats a vertex, or none
 *  @param uvs 2 floats a vertex, always there
 *  @param colors bytes, passed on as they are
 *  @param indices corner indices, 3 a triangle, passed on as they are
 *
 *  Each count is the number of scalars. A null array is empty whatever its count.
 *
 *  Makes no instance. Nothing happens when a new mesh has position, normal and uv counts that do not
 *  fit each other; a mesh that exists takes the arrays unchecked.
 *  @throws std::length_error "vector too long", with nothing changed, for a negative count of an
 *      array that is not null. */
Q7_API void AddMesh(void* session, const Q7Char* name, float* positions, int positionCount,
                    float* normals, int normalCount, float* uvs, int uvCount, unsigned char* colors,
                    int colorCount, int* indices, int indexCount)
    Q7_SYMBOL("?AddMesh@@YAXPEAXPEB_WPEAMH2H2HPEAEHPEAHH@Z");

extern "C" {
#endif

/** Adds a text material, or replaces the text of the text material of that name.
 *
 *  @param materialName every "/" in it becomes "@"
 *  @param xml the finished text, stored and sent as it stands, never parsed
 *
 *  Nothing happens when the name belongs to a typed material (Q7AddMaterial). */
Q7_API void AddMaterial(void* session, const Q7Char* materialName, const Q7Char* xml) Q7_MAY_THROW;

/** Appends a record to the session's list of legacy scenes; names may repeat. SendScenes sends the
 *  list and empties it.
 *
 *  @param name,label text of the record
 *  @param sceneData 36 bytes, copied and passed on as they are; not null
 *  @param value passed on as it is */
Q7_API void AddScene(void* session, const Q7Char* name, const Q7Char* label, const void* sceneData,
                     uint32_t value) Q7_MAY_THROW;

/** @} */

/* ---- Nodes ----------------------------------------------------------------------------------- */

/** @defgroup nodes Nodes
 *  @{ */

/** Opens a node: triangles that follow belong to it, until the end call.
 *
 *  @param nodeName the node. Ending a node under a name that was used before updates its meshes in
 *      place and adds instances again; delete the node first to replace it.
 *  @param transform 16 floats, read when the node ends: keep them alive until then. A sanitizer in the
 *      host alone does not see that they were freed, since the library makes the access: use valgrind,
 *      or the library as the preset linux-asan builds it.
 *  @param instancePath path of every instance of this node
 *
 *  A node that is open is renamed: what its triangles become belongs to the new name, but the meshes
 *  that were begun keep the old one in theirs.
 *  Nothing happens when nodeName is empty. */
Q7_API void Q7BeginNode(void* session, const Q7Char* nodeName, const float* transform,
                        const Q7Char* instancePath) Q7_MAY_THROW;

/** Opens a node as Q7BeginNode does, with the number of triangles to expect.
 *
 *  @param triangleHint triangles of the node; memory for all of them is reserved for each material
 *      of the node, and what is left over goes back when the node ends. 0 reserves nothing. Taken
 *      also when nodeName is empty. A hint beyond the memory there is makes the first triangle call
 *      of a material throw std::bad_alloc. */
Q7_API void Q7BeginNodeHint(void* session, const Q7Char* nodeName, const float* transform,
                            uint32_t triangleHint, const Q7Char* instancePath) Q7_MAY_THROW;

/** Opens a node as Q7BeginNode does, with an empty instance path. */
Q7_API void MaxBeginNode(void* session, const Q7Char* nodeName,
                         const float* transform) Q7_MAY_THROW;

/** Opens a node as Q7BeginNodeHint does, with an empty instance path. */
Q7_API void MaxBeginNodeHint(void* session, const Q7Char* nodeName, const float* transform,
                             uint32_t triangleHint) Q7_MAY_THROW;

/** Ends the open node: one mesh and one instance come of each material that its triangles named.
 *
 *  The mesh of a material is named after the node, with each "_" turned into "@", then "_", then the
 *  material as the triangle calls named it; the model's mesh of that name is updated or made. Normals
 *  that are not one per vertex are dropped, and a mesh without indices gets 0, 1, 2 and so on. A
 *  material that is unknown is made as Q7SetMaterialVersion tells.
 *  With no node open, triangles given since the last end become instances all the same, at the
 *  transform of the last begin call: it must then still be alive.
 *  Cost: independent of the number of triangles. */
Q7_API void Q7EndNode(void* session) Q7_MAY_THROW;

/** The same function as Q7EndNode. */
Q7_API void MaxEndNode(void* session) Q7_MAY_THROW;

/** Adds one triangle to the open node, with its axes as they stand: MaxAddTriangles with a count of
 *  1 and CoordOrder XYZ.
 *
 *  @param positions 9 floats
 *  @param normals 9 floats or null
 *  @param uvs 6 floats or null */
Q7_API void MaxAddTriangle(void* session, const Q7Char* materialName, const float* positions,
                           const float* normals, const float* uvs) Q7_MAY_THROW;

/** Adds triangles without indices to the open node: MaxAddIndexTriangles with no indices. Where the
 *  material also gets triangles with indices in this node, its vertices without any belong to no triangle:
 *  do not mix the two. */
Q7_API void MaxAddTriangles(void* session, const Q7Char* materialName, int triangleCount,
                            const float* positions, const float* normals, const float* uvs,
                            CoordOrder order) Q7_MAY_THROW;

/** Adds vertices, and indices if there are any, to the open node.
 *
 *  @param materialName the material. Empty means "No Material". In the material's name every "/"
 *      becomes "@"; the mesh name keeps it.
 *  @param triangleCount a third of the number of vertices handed over; not negative
 *  @param positions 9 * triangleCount floats; not tested for null
 *  @param normals 9 * triangleCount floats, or null for none
 *  @param uvs 6 * triangleCount floats, or null for zeroes
 *  @param indexCount number of indices, 3 a triangle; it need not match triangleCount. A host whose
 *      vertices are shared pads them to a multiple of three.
 *  @param indices appended as they are, or null for none. They count from the first vertex of this
 *      material in this node, also in later calls.
 *  @param order axis order of positions and normals; an unknown value is XYZ
 *
 *  Works with no node open as well (see Q7EndNode).
 *  @throws std::length_error "vector too long" when triangleCount is negative. */
Q7_API void MaxAddIndexTriangles(void* session, const Q7Char* materialName, int triangleCount,
                                 const float* positions, const float* normals, const float* uvs,
                                 uint32_t indexCount, const int* indices,
                                 CoordOrder order) Q7_MAY_THROW;

/** Places the geometry of one node again as another node, with the instance path "/".
 *
 *  @param existingNode a node that was ended. Its own transform plays no part.
 *  @param newNode gets one instance for each that the existing node has at the time of the call;
 *      they join those it has. They share mesh and material: an update of the mesh shows in all.
 *  @param transform 16 floats, read at once
 *
 *  When existingNode is unknown, newNode becomes known and gets no instances.
 *  Cost: constant for each instance. */
Q7_API void MaxDuplicateNode(void* session, const Q7Char* existingNode, const Q7Char* newNode,
                             const float* transform) Q7_MAY_THROW;

/** Places the geometry of one node again as MaxDuplicateNode does, with an instance path. */
Q7_API void Q7DuplicateNode(void* session, const Q7Char* existingNode, const Q7Char* newNode,
                            const float* transform, const Q7Char* instancePath) Q7_MAY_THROW;

/** Forgets a node and marks its instances for removal; they leave the model at the next live send.
 *  Until then they are counted and saved.
 *
 *  Nothing happens when the node is unknown. */
Q7_API void MaxDeleteNode(void* session, const Q7Char* node) Q7_MAY_THROW;

/** The same function as MaxDeleteNode. */
Q7_API void Q7DeleteNode(void* session, const Q7Char* node) Q7_MAY_THROW;

/** Counts the instances of the model, those marked for removal included. */
Q7_API uint64_t Q7InstanceCount(void* session) Q7_MAY_THROW;

#ifdef __cplusplus
} /* extern "C" */

/** Marks the instance of an id for removal. C++ only.
 *
 *  No function hands out such ids yet, so every call throws std::out_of_range with the text
 *  "invalid unordered_map<K, T> key". Delete nodes with Q7DeleteNode. */
Q7_API void Q7DeleteInstance(void* session, uint64_t id)
    Q7_SYMBOL("?Q7DeleteInstance@@YAXPEAX_K@Z");

extern "C" {
#endif

/** @} */

/* ---- Typed materials ------------------------------------------------------------------------- */

/** @defgroup materials Typed materials
 *
 *  In all of these, every "/" in a material name becomes "@". Property names are free and differ by
 *  case. They become the names of XML elements, with each blank turned into "--" and nothing else
 *  changed or escaped: choose names that XML allows. In values "&", "<" and ">" become entities.
 *  @{ */

/** Adds a typed material of type 0 without properties.
 *
 *  Nothing happens when a material of that name exists. */
Q7_API void Q7AddMaterial(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes all properties of a typed material; its type stays.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7ResetMaterial(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Chooses the base material by its index in the renderer's catalogue.
 *
 *  @param type 0 to 9, for Base_9, Base_2, Base_5, Base_11, Base_6, Base_12, Base_13, Base_15,
 *      Base_17 and Base_18. A larger value is stored too, and written as type 0.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialType(void* session, const Q7Char* name, uint32_t type) Q7_MAY_THROW;

/** Sets a property to an integer, replacing what it held, whatever its type.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialIntProperty(void* session, const Q7Char* name, const Q7Char* property,
                                     int32_t value) Q7_MAY_THROW;

/** Sets a property to a float, replacing what it held; written with six significant digits.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialFloatProperty(void* session, const Q7Char* name, const Q7Char* property,
                                       float value) Q7_MAY_THROW;

/** Sets a property to a text, replacing what it held. A texture is a text: the path of its file, which
 *  is written as it stands; the renderer looks for the file by its name alone.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialStringProperty(void* session, const Q7Char* name, const Q7Char* property,
                                        const Q7Char* value) Q7_MAY_THROW;

/** Removes a property of a typed material.
 *
 *  Nothing happens when the material or the property is unknown. */
Q7_API void Q7RemoveMaterialProperty(void* session, const Q7Char* name,
                                     const Q7Char* property) Q7_MAY_THROW;

/** Writes all materials as XML text in UTF-8, in the order in which they were added, replacing the
 *  file: typed ones as the library words them, text ones as they were given. With material version 1
 *  they stand inside of one root element, else there is none. There is no declaration and no
 *  byte-order mark; line ends are those of the platform's text files: CR LF on Windows, LF elsewhere.
 *
 *  Nothing happens when the file cannot be opened for writing; a write that fails later is not
 *  reported. */
Q7_API void Q7SaveMaterialToFile(void* session, const Q7Char* path) Q7_MAY_THROW;

/** @} */

/* ---- Saving ---------------------------------------------------------------------------------- */

/** @defgroup saving Saving
 *  @{ */

/** Writes the model to a model stream file as it stands, replacing the file: every mesh, used or not,
 *  and every instance, those marked for removal included. The triangles of a node that is still open
 *  are no part of the model yet. The session stays as it is.
 *
 *  Nothing happens when the file cannot be opened for writing; a full disk leaves a short file and
 *  is not reported.
 *  Cost: one pass over the model; no copy of it is made. */
Q7_API void Q7SaveRawToFile(void* session, const Q7Char* path) Q7_MAY_THROW;

/** The same function as Q7SaveRawToFile. */
Q7_API void SaveToFile(void* session, const Q7Char* path) Q7_MAY_THROW;

/** Writes a merged copy of the model to a model stream file, replacing the file. The session stays as
 *  it is.
 *
 *  Merging joins, for each material, the meshes that a single instance uses into one mesh in world
 *  space, named after the material with "_q7_merged" behind it, with one instance at the identity.
 *  Meshes with several instances, and a material's only such mesh, stay as they are. The meshes that
 *  were joined stay in the file, without instances. When the arrays of a material's meshes do not fit
 *  each other (some have normals and some have none), their instances are not in the file.
 *  The merged mesh has one index for each float of its positions, so "triangleCount" in the header
 *  counts its points. A mesh that already has the merged name takes the merged mesh's place.
 *
 *  Nothing happens when the file cannot be opened for writing; a full disk leaves a short file and
 *  is not reported.
 *  Cost: memory for the merged geometry once. */
Q7_API void Q7SaveProcessedToFile(void* session, const Q7Char* path) Q7_MAY_THROW;

/** @} */

/* ---- Archives -------------------------------------------------------------------------------- */

/** @defgroup archives Archives
 *
 *  An archive is a zip file that holds:
 *
 *  - 1.q7mesh: the model, as Q7SaveRawToFile or Q7SaveProcessedToFile writes it (of Q7SaveExtToQ7a
 *    instead the host's file, as "1." and its extension)
 *  - q7material.xml: the materials, as Q7SaveMaterialToFile writes them: texture paths stay those of
 *    the host
 *  - info.json: "productID", a new one in each archive, and "instanceIdArray", the path, "/" and
 *    material of each instance (not in those of Q7SaveExtToQ7a)
 *  - textures/: with material version 1, a copy of every file that is named by a text property of a
 *    typed material, whatever the property is called. A text that names no file that opens is passed
 *    over without a word. Of two files with one name the later copy stays.
 *
 *  It is filled in the folder "__q7_export_temp" beside the archive, which is removed when all went
 *  well and stays after a failure: what lies in it then, the next archive beside it holds as well. Two
 *  archives beside each other cannot be made at the same time. A failure prints one line on standard
 *  error: "create texture dir fail!", "copy texture fail!", "copy file fail!" or "compress file fail!".
 *
 *  In paths a backslash separates on Windows and "/" elsewhere, so give textures and archives with those: on
 *  Windows a texture or external file whose path has "/" is missing from the archive, without a word,
 *  and an archive whose path has no backslash is refused.
 *  @{ */

/** Saves the model as it stands as an archive, replacing the file. The session stays as it is.
 *
 *  @param path the archive; folders that are missing above it are made. A name alone, without a
 *      folder, fails, and leaves a folder of that name. Paths may have any length that the system
 *      takes, on Windows more than 260 characters.
 *
 *  @return 1 when the archive was made, else 0. On a full disk parts of it, or all, may be missing
 *      although 1 is returned.
 *
 *  Cost: writes the model twice, and compresses it at the highest level. */
Q7_API uint8_t Q7SaveRawToQ7a(void* session, const Q7Char* path) Q7_MAY_THROW;

/** Saves a merged copy of the model, as Q7SaveProcessedToFile describes it, as an archive; otherwise as
 *  Q7SaveRawToQ7a does. The instances in "info.json" are those of the model itself. */
Q7_API uint8_t Q7SaveProcessedToQ7a(void* session, const Q7Char* path) Q7_MAY_THROW;

/** Saves a file of the host's own with the session's materials as an archive; otherwise as
 *  Q7SaveRawToQ7a does. The session's model plays no part.
 *
 *  @param externalFile copied byte by byte. What stands behind the last "." of its name is its
 *      extension; a name without one is its own extension. When the file cannot be opened, its
 *      entry is empty, and the archive is made all the same: "copy file fail!" is for faults of a
 *      stream that hardly ever come.
 *  @param path the archive */
Q7_API uint8_t Q7SaveExtToQ7a(void* session, const Q7Char* externalFile,
                              const Q7Char* path) Q7_MAY_THROW;

/** @} */

/* ---- Identity and environment ---------------------------------------------------------------- */

/** @defgroup environment Identity and environment
 *  @{ */

/** Tells the id by which the rendering application knows this user: the first line of the file
 *  "cid.dat" in the folder "q7_launcher" of the user's local application data (elsewhere than on
 *  Windows that is $XDG_DATA_HOME, by default ~/.local/share). When there is no such file, it is made,
 *  with an id of 32 hexadecimal digits; where it cannot be written, each process gets another one. The
 *  line is taken as it is: from an empty file the id is empty. Needs no session.
 *
 *  @param buffer where to store the text and its terminator; not touched when size is too small;
 *      may be null
 *  @param size of the buffer in bytes. The text is stored when it is at least what is returned.
 *
 *  @return the id's length plus 1. The id stays the same until the process ends, and any thread may
 *      ask for it, also at first. */
Q7_API uint32_t Q7GetCid(char* buffer, uint32_t size) Q7_MAY_THROW;

/** Tells the folder of the rendering application's logs, with a separator behind it:
 *  "q7_engine\Saved\Logs\" in the user's local application data (elsewhere than on Windows
 *  "q7_engine/Saved/Logs/" in the folder that Q7GetCid names). The folder is made when it is
 *  missing, also when the application was never installed. Needs no session.
 *
 *  @param buffer where to store the path and its terminator; not touched when size is too small;
 *      may be null
 *  @param size of the buffer in characters. The path is stored when it is at least what is
 *      returned.
 *
 *  @return the path's length plus 1; when the folder cannot be made, the path is empty and that is
 *      1. */
Q7_API uint32_t Q7GetLogDir(Q7Char* buffer, uint32_t size) Q7_MAY_THROW;

/** Tells the size of the renderer's viewport, as its window is on the screen now. Needs no session; one
 *  thread at a time.
 *
 *  Pixels are those of the calling thread's DPI awareness: on a screen at 200 % a thread that is not
 *  aware gets half of the numbers that a thread aware of each monitor gets.
 *
 *  @return the width in pixels in the upper 16 bits and the height in the lower 16 bits (a height
 *      above 65535 spills into the width); 0 when there is no such window, in the first call after
 *      it was closed, and always on systems other than Windows. Once the renderer's main window was
 *      seen without its viewport and was then closed, the size stays unknown for the rest of the
 *      process. */
Q7_API uint32_t Q7RenderWindowSize(void) Q7_MAY_THROW;

/** @} */

/* ---- Scenes, lights and other records -------------------------------------------------------- */

/** @defgroup records Scenes, lights and other records
 *
 *  A scene, a light, the camera, the model's metadata and a camera animation are free records: what a
 *  property means is a matter between the host and the renderer. The set functions address them by a
 *  type and a name:
 *
 *  - type 0: the session's camera; the name is not read and may be null
 *  - type 1: a light of Q7AddLight
 *  - type 2: a scene of Q7AddScene
 *  - type 3: the session's metadata; the name is not read and may be null
 *  - type 4: a camera animation of Q7AddCameraAnims
 *
 *  A property is known by its name, and two names differ by case. Setting one that is there replaces
 *  its value and its type. Values cannot be read back.
 *  @{ */

/** Adds a scene without properties. A scene that has the name is emptied.
 *
 *  The name only addresses the scene: a message does not hold it. */
Q7_API void Q7AddScene(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes a scene. Nothing happens when the name is unknown. */
Q7_API void Q7DeleteScene(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes all scenes of Q7AddScene. */
Q7_API void Q7ClearScenes(void* session) Q7_MAY_THROW;

/** Adds a light without properties. A light that has the name is emptied.
 *
 *  The name only addresses the light: a message does not hold it. */
Q7_API void Q7AddLight(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes a light. Nothing happens when the name is unknown. */
Q7_API void Q7DeleteLight(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes all lights. */
Q7_API void Q7ClearLights(void* session) Q7_MAY_THROW;

/** Gives an id a name, replacing the one it has. The lights message lists the pairs as its groups; a
 *  light refers to one by a property that host and renderer agree on. */
Q7_API void Q7SetPathElementName(void* session, const Q7Char* id, const Q7Char* name) Q7_MAY_THROW;

/** Takes an id's name away. Nothing happens when the id is unknown. */
Q7_API void Q7DeletePathElementName(void* session, const Q7Char* id) Q7_MAY_THROW;

/** Takes all names of ids away. */
Q7_API void Q7ClearPathElementNames(void* session) Q7_MAY_THROW;

/** Sets a property to an integer.
 *
 *  Nothing happens when the type is unknown, or no record of that type has the name. */
Q7_API void Q7SetEntityIntProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                                   const Q7Char* property, int32_t value) Q7_MAY_THROW;

/** Sets a property to a float. Messages show it with all the digits that it has as a double: 0.1F is
 *  0.10000000149011612; a value that is no finite number is null.
 *
 *  Nothing happens when the type is unknown, or no record of that type has the name. */
Q7_API void Q7SetEntityFloatProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                                     const Q7Char* property, float value) Q7_MAY_THROW;

/** Sets a property to several floats. Messages show one float as a plain number, and leave the
 *  property out when there is none.
 *
 *  @param values count floats; null counts as none, whatever the count
 *
 *  Nothing happens when the type is unknown, or no record of that type has the name.
 *  @throws std::length_error "vector too long" when there is a record, values are given and count
 *      is negative. */
Q7_API void Q7SetEntityFloatArrayProperty(void* session, uint32_t entityType,
                                          const Q7Char* entityName, const Q7Char* property,
                                          const float* values, int count) Q7_MAY_THROW;

/** Sets a property to a text.
 *
 *  Nothing happens when the type is unknown, or no record of that type has the name. */
Q7_API void Q7SetEntityStringProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                                      const Q7Char* property, const Q7Char* value) Q7_MAY_THROW;

/** Removes all properties of a record. The model's path in the camera and the metadata stays.
 *
 *  Nothing happens when the type is 4 or unknown, or no record of that type has the name. */
Q7_API void Q7ResetEntityProperty(void* session, uint32_t entityType,
                                  const Q7Char* entityName) Q7_MAY_THROW;

/** Removes a property of a record.
 *
 *  Nothing happens when the type is 4 or unknown, no record of that type has the name, or the record
 *  has no such property. */
Q7_API void Q7DeleteEntityProperty(void* session, uint32_t entityType, const Q7Char* entityName,
                                   const Q7Char* property) Q7_MAY_THROW;

/** @} */

/* ---- Messages -------------------------------------------------------------------------------- */

/** @defgroup messages Messages
 *
 *  Each message takes a connection of its own, and goes only when a renderer shows a status other than
 *  0 and no connection for a model is open, of whatever session: one that comes in the meantime is
 *  dropped, not queued. No failure is reported. A message waits for the renderer to take it, however
 *  long that lasts.
 *  It goes to the port that was read last: StartLinkQ7Render reads it, and every connection or send
 *  that fails. So the first message of a process that did not call StartLinkQ7Render, and the first one
 *  after the renderer moved, are lost. When the renderer publishes no port then, "Port share mem
 *  error!" is printed on standard output.
 *  docs/formats/link_protocol.md tells the bytes.
 *  @{ */

/** Sends the camera in its short form, with the session's model path: that of SetModelFilePath or
 *  SetRelevantModelFilePath, whichever was called last.
 *
 *  @param transform 36 bytes, passed on unread; not null
 *  @param fov passed on unread */
Q7_API void SendCameraTransformFov(void* session, const char* transform, float fov) Q7_MAY_THROW;

/** Sends the properties of the session's camera, and the model's path if one is set. They stay. */
Q7_API void Q7SendCamera(void* session) Q7_MAY_THROW;

/** Sends the properties of the session's metadata, and the model's path if one is set. They stay. */
Q7_API void Q7SendMetaData(void* session) Q7_MAY_THROW;

/** Asks the renderer for the metadata that it holds of the session's model, and waits for the answer
 *  without a limit. Each call asks anew. As much of the answer is taken as arrives at once; what it
 *  announces beyond that becomes zeros that count towards its length. One that announces more than
 *  64 MiB is no answer.
 *
 *  @param buffer room for the text and its terminator, or null
 *  @param size what buffer holds, in units of Q7Char
 *
 *  @return the text's length plus one; the text is stored only when size is at least that. Without
 *      an answer, also of a renderer that cannot be reached, the text is empty. Returns 0xFFFFFFFF
 *      when no message may go. */
Q7_API uint32_t Q7GetMetaData(void* session, Q7Char* buffer, uint32_t size) Q7_MAY_THROW;

/** Sends all scenes of Q7AddScene with the model's path. They stay. */
Q7_API void Q7SendScenes(void* session) Q7_MAY_THROW;

/** Sends all lights and the names of Q7SetPathElementName with the model's path. They stay. */
Q7_API void Q7SendLights(void* session) Q7_MAY_THROW;

/** Sends the records of AddScene in the order of adding, and drops them, also when the send fails. They
 *  stay when no message may go.
 *
 *  @param text passed on unread. When it is empty the connection is opened and closed, nothing is
 *      sent, and the records stay. */
Q7_API void SendScenes(void* session, const Q7Char* text) Q7_MAY_THROW;

/** Sends two texts about the lights, passed on unread. */
Q7_API void SendLightsDataXml(void* session, const Q7Char* first,
                              const Q7Char* second) Q7_MAY_THROW;

/** @} */

/* ---- Animation records ----------------------------------------------------------------------- */

/** @defgroup animations Animation records
 *
 *  A camera animation is a record of type 4 with key frames in the order of adding. Its own
 *  properties are set through Q7SetEntityIntProperty and its siblings. Key frames are addressed by
 *  their index, from 0. The library passes the points of curves on unread: what several points of
 *  one property are, and whether tangents are absolute, is a matter between the host and the
 *  renderer. In all functions with a type only 4 is known, and with another nothing happens, as
 *  with a name that no camera animation has.
 *  @{ */

#ifdef __cplusplus
} /* extern "C" */

/** One point of an animation curve: its value, and the time and value of its two tangents. */
struct Q7AnimProperty final {
    double V;  /**< value of the point */
    double LT; /**< time of the left tangent */
    double LV; /**< value of the left tangent */
    double RT; /**< time of the right tangent */
    double RV; /**< value of the right tangent */

    /** Copies a point. */
    Q7AnimProperty(const Q7AnimProperty&) = default;
#if defined(__MINGW32__)
    /* The exports follow MSVC's convention for members, which this compiler does not call. */
    Q7AnimProperty(double v, double lt, double lv, double rt, double rv)
        : V(v), LT(lt), LV(lv), RT(rt), RV(rv) {}
    Q7AnimProperty& operator=(const Q7AnimProperty& other) = default;
    Q7AnimProperty& operator=(Q7AnimProperty&& other) = default;
#else
    /** Makes a point of its five values, in the order of the members. */
    Q7_API Q7AnimProperty(double v, double lt, double lv, double rt, double rv);
    /** Copies all five values. */
    Q7_API Q7AnimProperty& operator=(const Q7AnimProperty& other);
    /** Copies all five values. */
    Q7_API Q7AnimProperty& operator=(Q7AnimProperty&& other) noexcept;
#endif
};

extern "C" {
#else
typedef struct Q7AnimProperty {
    double V, LT, LV, RT, RV;
} Q7AnimProperty;
#endif

/** Adds a camera animation without key frames, whose text property "Name" is its name. One that has
 *  the name is replaced.
 *
 *  Nothing happens when session is null. */
Q7_API void Q7AddCameraAnims(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes a camera animation. Nothing happens when session is null or the name is unknown. */
Q7_API void Q7DeleteCameraAnims(void* session, const Q7Char* name) Q7_MAY_THROW;

/** Removes all camera animations. Nothing happens when session is null. */
Q7_API void Q7ClearCameraAnims(void* session) Q7_MAY_THROW;

/** Sends all camera animations and removes them, also when the send fails. As with all messages, none
 *  goes while no renderer shows a status or a connection for a model is open; they stay then.
 *
 *  Nothing happens when session is null. */
Q7_API void Q7SendCameraAnims(void* session) Q7_MAY_THROW;

/** Adds a key frame without properties, also when one of that time exists.
 *
 *  @param time in the unit that host and renderer agree on
 *
 *  @return the key frame's index, or -1 when there is no such camera animation. */
Q7_API int32_t Q7AddAnimEntityFrame(void* session, int32_t type, const Q7Char* name,
                                    double time) Q7_MAY_THROW;

/** Finds a key frame by its time.
 *
 *  @return the index of the first whose time differs from this one by less than
 *      2.220446049250313e-16, or -1.
 *
 *  Cost: grows with the number of key frames. */
Q7_API int32_t Q7FindAnimEntityFrame(void* session, int32_t type, const Q7Char* name,
                                     double time) Q7_MAY_THROW;

/** Removes a key frame; those behind it move down by one. Nothing happens when there is no such
 *  key frame. */
Q7_API void Q7DeleteAnimEntityFrame(void* session, int32_t type, const Q7Char* name,
                                    int32_t frame) Q7_MAY_THROW;

/** Removes all key frames. */
Q7_API void Q7ClearAnimEntityFrames(void* session, int32_t type, const Q7Char* name) Q7_MAY_THROW;

/** Sets a property of a key frame to one point of a curve, replacing what it held.
 *
 *  @param value null leaves the property without points
 *
 *  Nothing happens when there is no such key frame. */
Q7_API void Q7SetAnimProperty(void* session, int32_t type, const Q7Char* name,
                              const Q7Char* property, int32_t frame,
                              const Q7AnimProperty* value) Q7_MAY_THROW;

/** Sets a property of a key frame to several points of curves, replacing what it held. Messages leave
 *  a property without points out.
 *
 *  @param values count points; null counts as none, whatever the count
 *
 *  Nothing happens when there is no such key frame.
 *  @throws std::length_error "vector too long" when there is a key frame, values are given and
 *      count is negative. */
Q7_API void Q7SetAnimArrayProperty(void* session, int32_t type, const Q7Char* name,
                                   const Q7Char* property, int32_t frame,
                                   const Q7AnimProperty* values, int count) Q7_MAY_THROW;

/** Removes all properties of a key frame; the key frame and its time stay. Nothing happens when there
 *  is no such key frame. */
Q7_API void Q7ResetAnimProperty(void* session, int32_t type, const Q7Char* name,
                                int32_t frame) Q7_MAY_THROW;

/** Removes a property of a key frame. Nothing happens when there is no such key frame or property. */
Q7_API void Q7DeleteAnimProperty(void* session, int32_t type, const Q7Char* name,
                                 const Q7Char* property, int32_t frame) Q7_MAY_THROW;

/** Removes all properties of all key frames. */
Q7_API void Q7ResetAllAnimProperty(void* session, int32_t type, const Q7Char* name) Q7_MAY_THROW;

/** Removes a property of all key frames. */
Q7_API void Q7DeleteAllAnimProperty(void* session, int32_t type, const Q7Char* name,
                                    const Q7Char* property) Q7_MAY_THROW;

/** @} */

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* Q7PLUGIN_H */
