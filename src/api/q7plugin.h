/*
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
 *   There is no error text and no last-error call; "Nothing happens when" tells the cases.
 * - Exceptions: nothing is caught at this boundary. std::bad_alloc, and the std::length_error,
 *   std::out_of_range and std::invalid_argument that single functions name, reach the caller. On Windows they can be caught by
 *   type only when host and library are built with the same compiler family.
 * - Threads: no function takes a lock, and a session belongs to one thread at a time. The text of
 *   Q7SetDccPluginInfo and the path last given to SetModelFilePath are shared by all sessions of the
 *   process without protection.
 *
 * The header is C and C++. The functions that exist in C++ only are marked so.
 */
#ifndef Q7PLUGIN_H
#define Q7PLUGIN_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
typedef wchar_t Q7Char;
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
typedef char16_t Q7Char;
#endif

/* Q7_API marks what the library exports. On Windows the export list does the exporting. */
#if defined(_MSC_VER) && !defined(Q7PLUGIN_BUILD)
#define Q7_API __declspec(dllimport)
#elif defined(_WIN32)
#define Q7_API
#else
#define Q7_API __attribute__((visibility("default")))
#endif

/* The exports whose names encode their argument types have the names that MSVC gives them, with
 * every Windows compiler. */
#if defined(__MINGW32__)
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

/* ---- Sessions ------------------------------------------------------------------------------- */

/** Makes a session with an empty model.
 *
 *  Returns the session, never null. End it with DestroySession.
 *  Throws std::bad_alloc when memory runs out. */
Q7_API void* CreateSession(void);

/** Ends a session and frees all that it holds. Values of the whole process stay, and so does a live
 *  connection: DisConnect first.
 *
 *  session: a live session; null is not allowed. */
Q7_API void DestroySession(void* session);

/** Tells the version of this library.
 *
 *  Returns "0.5.7.0", a constant that is never freed. Needs no session. */
Q7_API const char* Q7GetPluginVersion(void);

/* ---- Settings ------------------------------------------------------------------------------- */

/** Names the file that the model belongs to, and makes the session's sends be of that main model.
 *
 *  path: taken as it stands, not tested; may be empty. The last path given here by any session is
 *        also remembered for the whole process, as the parent of relevant models. */
Q7_API void SetModelFilePath(void* session, const Q7Char* path);

/** Names the file of a model that is part of another one, the one last given to SetModelFilePath.
 *
 *  path: taken as it stands, not tested; may be empty. The process-wide path stays. */
Q7_API void SetRelevantModelFilePath(void* session, const Q7Char* path);

/** Sets the folder of the model's textures, as the stream's header shows it.
 *
 *  path: taken as it stands, not tested; may be empty. */
Q7_API void SetTextureFolder(void* session, const Q7Char* path);

/** Switches on or off that each live send of a model with instances carries one generated instance per
 *  material, so that the renderer also learns of materials that no geometry uses. Starts off.
 *
 *  flag: 0 is off, any other value on. Takes effect at the next send. */
Q7_API void SetGenMatInstances(void* session, uint8_t flag);

/** Sets the text by which the host's plug-in names itself in the stream's header.
 *
 *  info: replaces the text of the whole process; it starts empty. Needs no session. */
Q7_API void Q7SetDccPluginInfo(const Q7Char* info);

/** Chooses what an unknown material name becomes when a node ends. Set it before the first material.
 *
 *  version: 0 (the start value) adds a text material with the default text, 1 adds a typed material
 *           without properties, any other value adds none, so that the instance is not made.
 *           Materials that exist stay as they are. The stream's header shows the version plus 1, and
 *           with version 1 the material file has a root element. */
Q7_API void Q7SetMaterialVersion(void* session, uint32_t version);

/* ---- The renderer ---------------------------------------------------------------------------- */
/* The link to the renderer is one for the process: one connection at a time, shared by all sessions
 * without protection. A renderer that is not there, or goes away, shows in no function but those that
 * return something here: what is sent then goes nowhere. */

/** Tells the library where the renderer is installed.
 *
 *  path: the folder; kept when launcher, viewer and engine can be read in it. Otherwise the registered
 *        installation takes its place, if there is one.
 *
 *  Returns 1 when a folder is known afterwards, else 0. Needs no session. */
Q7_API uint8_t SetQ7RenderPath(const Q7Char* path);

/** Links to the renderer: starts it when it does not run, waits until it is ready, hands it the
 *  plug-in's file and waits until it says that it is linked. Needs no session.
 *
 *  The version is that of the registered installation, also where SetQ7RenderPath named another one,
 *  and it is compared with 1.7.1 as a text: 1.10.0 is refused.
 *
 *  pluginFile: the file handed over; also the launcher's parameter, unquoted, so that a path with
 *              blanks reaches the launcher as several arguments
 *
 *  Returns 0 linked, 1 no installation found, 3 the installed version is not above 1.7.1, 4 the
 *  renderer takes no link, 5 its update runs, 6 it refused the hand-over, 7 the link failed (tried
 *  twice, 3 seconds apart), 8 it has no port or cannot be connected to.
 *  Blocks its caller for as long as the renderer needs to start, without a limit, and prints the
 *  renderer's status on standard output at each of its polls, 0.3 seconds apart. */
Q7_API uint32_t StartLinkQ7Render(const Q7Char* pluginFile);

/** Tells the renderer's status as it is now. Needs no session.
 *
 *  flag: where to store the low byte of the renderer's flag, which is then cleared, so that it is
 *        shown once and a StartLinkQ7Render that runs meanwhile may miss it; null leaves the flag
 *        alone. Without a renderer the last value is stored.
 *
 *  Returns 0 not available, 1 waits for a plug-in file, 2 takes no link, 4 linked; any other value is
 *  a renderer that is not ready. */
Q7_API uint32_t GetQ7RenderStatus(uint8_t* flag);

/** Tells the version of the registered installation, read anew at each call. Needs no session.
 *
 *  buffer: where to store the text and its terminator; not touched when size is too small; may be null
 *  size:   of the buffer in characters. The text is stored when it is at least the text's length,
 *          and then its terminator too: give the buffer one character more than you tell.
 *
 *  Returns the text's length plus 1; without an installation that is 1. */
Q7_API uint32_t Q7GetRenderVersion(Q7Char* buffer, uint32_t size);

/** The same function as Q7RawSyncConnect. */
Q7_API ConnectRet Connect(void* session);

/** Opens the connection for Q7SendRaw, on the port that the library read last: StartLinkQ7Render reads
 *  it, and each connect or send that fails.
 *
 *  Returns a ConnectRet. A renderer that cannot be reached counts as connected: the send that follows
 *  goes nowhere, and the port is read anew for the next attempt.
 *  Throws std::invalid_argument "invalid stoi argument" or std::out_of_range "stoi argument out of
 *  range" when the installed version is no version.
 *  Blocks until the renderer answers. A connection that is still open is closed first. */
Q7_API ConnectRet Q7RawSyncConnect(void* session);

/** Opens the connection for Q7SendProcessed; for a path of SetRelevantModelFilePath it also names the
 *  main model, the path last given to SetModelFilePath.
 *
 *  Returns a ConnectRet, as Q7RawSyncConnect does. */
Q7_API ConnectRet Q7ProcessedSyncConnect(void* session);

#ifdef __cplusplus
} /* extern "C" */

/** Opens the connection for a group of models, which Q7SendProcessed sends. C++ only.
 *
 *  Returns a ConnectRet, as Q7RawSyncConnect does. */
Q7_API ConnectRet Q7GroupSyncConnect(void* session)
    Q7_SYMBOL("?Q7GroupSyncConnect@@YA?AW4ConnectRet@@PEAX@Z");

extern "C" {
#endif

/** Closes the connection that a connect function opened.
 *
 *  Nothing happens when HasConnected is 0. */
Q7_API void DisConnect(void* session);

/** Tells whether a connect function succeeded since the last DisConnect, without probing the
 *  connection.
 *
 *  Returns 1 or 0. */
Q7_API uint8_t HasConnected(void* session);

/** Asks the renderer, on a connection of its own, how it wants a model.
 *
 *  name: handed to the renderer; null is allowed
 *
 *  Returns the renderer's answer, and 0 for a negative or no answer, for a null name, and while a
 *  connection is open. Blocks until the renderer answers or closes. */
Q7_API int32_t GetSendModelType(void* session, const Q7Char* name);

/** Sends the model as it stands over the open connection. Instances of deleted nodes leave the model
 *  first; afterwards all meshes without an instance leave it, those of AddMesh too. Instances whose transform is sheared or scales
 *  beyond 0.001 to 100 travel as meshes of their own, already transformed.
 *
 *  Mesh names that begin with "@q7fix@", and "@g@m@q7_", are the library's own: a host's mesh that
 *  takes one of the first keeps an instance from being transformed, one of the second is overwritten.
 *  A renderer of version 2.4 or later, or of a version that cannot be read, gets the model twice in a
 *  row, first with the instance paths. On a connection that Q7RawSyncConnect did not open the renderer
 *  may wait for something else and block the caller for good.
 *  Nothing is sent of a model without instances. Throws as Q7RawSyncConnect does.
 *  Cost: each mesh takes five round trips to the renderer; a renderer that does not answer blocks the
 *  caller. */
Q7_API void Q7SendRaw(void* session);

/** The same function as Q7SendRaw. */
Q7_API void SendModel(void* session);

/** Sends a merged copy of the model, as Q7SaveProcessedToFile describes it, over the open connection;
 *  otherwise as Q7SendRaw does, once and without instance paths. */
Q7_API void Q7SendProcessed(void* session);

/* ---- Whole meshes, text materials, scene records --------------------------------------------- */

#ifdef __cplusplus
} /* extern "C" */

/** Adds a mesh, or replaces the arrays of the mesh of that name. C++ only.
 *
 *  name:      the identity of the mesh. Instances that use it see the new arrays. Q7EndNode tells the
 *             names of the meshes of nodes: one of those is updated here, and a mesh that has such a
 *             name is updated when the node ends.
 *  positions: 3 floats a vertex; positionCount is a multiple of 3
 *  normals:   3 floats a vertex, or none
 *  uvs:       2 floats a vertex, always there
 *  colors:    bytes, passed on as they are
 *  indices:   corner indices, 3 a triangle, passed on as they are
 *  Each count is the number of scalars. A null array is empty whatever its count.
 *
 *  Makes no instance. Nothing happens when a new mesh has position, normal and uv counts that do not
 *  fit each other; a mesh that exists takes the arrays unchecked.
 *  Throws std::length_error "vector too long", with nothing changed, for a negative count of an array
 *  that is not null. */
Q7_API void AddMesh(void* session, const Q7Char* name, float* positions, int positionCount,
                    float* normals, int normalCount, float* uvs, int uvCount, unsigned char* colors,
                    int colorCount, int* indices, int indexCount)
    Q7_SYMBOL("?AddMesh@@YAXPEAXPEB_WPEAMH2H2HPEAEHPEAHH@Z");

extern "C" {
#endif

/** Adds a text material, or replaces the text of the text material of that name.
 *
 *  materialName: every "/" in it becomes "@"
 *  xml:          the finished text, stored and sent as it stands, never parsed
 *
 *  Nothing happens when the name belongs to a typed material (Q7AddMaterial). */
Q7_API void AddMaterial(void* session, const Q7Char* materialName, const Q7Char* xml);

/** Appends a record to the session's list of legacy scenes; names may repeat. The list is kept; no
 *  function sends it yet.
 *
 *  name, label: text of the record
 *  sceneData:   36 bytes, copied and passed on as they are; not null
 *  value:       passed on as it is */
Q7_API void AddScene(void* session, const Q7Char* name, const Q7Char* label, const void* sceneData,
                     uint32_t value);

/* ---- Nodes ----------------------------------------------------------------------------------- */

/** Opens a node: triangles that follow belong to it, until the end call.
 *
 *  nodeName:     the node. Ending a node under a name that was used before updates its meshes in
 *                place and adds instances again; delete the node first to replace it.
 *  transform:    16 floats, read when the node ends: keep them alive until then
 *  instancePath: path of every instance of this node
 *
 *  A node that is open is renamed: its triangles so far go to the new name.
 *  Nothing happens when nodeName is empty. */
Q7_API void Q7BeginNode(void* session, const Q7Char* nodeName, const float* transform,
                        const Q7Char* instancePath);

/** Opens a node as Q7BeginNode does, with the number of triangles to expect.
 *
 *  triangleHint: triangles of the node; memory for all of them is reserved for each material of the
 *                node, and what is left over goes back when the node ends. 0 reserves nothing. Taken
 *                also when nodeName is empty. A hint beyond the memory there is makes the first
 *                triangle call of a material throw std::bad_alloc. */
Q7_API void Q7BeginNodeHint(void* session, const Q7Char* nodeName, const float* transform,
                            uint32_t triangleHint, const Q7Char* instancePath);

/** Opens a node as Q7BeginNode does, with an empty instance path. */
Q7_API void MaxBeginNode(void* session, const Q7Char* nodeName, const float* transform);

/** Opens a node as Q7BeginNodeHint does, with an empty instance path. */
Q7_API void MaxBeginNodeHint(void* session, const Q7Char* nodeName, const float* transform,
                             uint32_t triangleHint);

/** Ends the open node: one mesh and one instance come of each material that its triangles named.
 *
 *  The mesh of a material is named after the node, with each "_" turned into "@", then "_", then the
 *  material as the triangle calls named it; the model's mesh of that name is updated or made. Normals
 *  that are not one per vertex are dropped, and a mesh without indices gets 0, 1, 2 and so on. A
 *  material that is unknown is made as Q7SetMaterialVersion tells.
 *  With no node open, triangles given since the last end become instances all the same, at the
 *  transform of the last begin call: it must then still be alive.
 *  Cost: independent of the number of triangles, unless indices are to be made. */
Q7_API void Q7EndNode(void* session);

/** The same function as Q7EndNode. */
Q7_API void MaxEndNode(void* session);

/** Adds one triangle to the open node, with its axes as they stand: MaxAddTriangles with a count of
 *  1 and CoordOrder XYZ.
 *
 *  positions: 9 floats; normals: 9 floats or null; uvs: 6 floats or null */
Q7_API void MaxAddTriangle(void* session, const Q7Char* materialName, const float* positions,
                           const float* normals, const float* uvs);

/** Adds triangles without indices to the open node: MaxAddIndexTriangles with no indices. */
Q7_API void MaxAddTriangles(void* session, const Q7Char* materialName, int triangleCount,
                            const float* positions, const float* normals, const float* uvs,
                            CoordOrder order);

/** Adds vertices, and indices if there are any, to the open node.
 *
 *  materialName:  the material. Empty means "No Material". In the material's name every "/" becomes
 *                 "@"; the mesh name keeps it.
 *  triangleCount: a third of the number of vertices handed over; not negative
 *  positions:     9 * triangleCount floats; not tested for null
 *  normals:       9 * triangleCount floats, or null for none
 *  uvs:           6 * triangleCount floats, or null for zeroes
 *  indexCount:    number of indices, 3 a triangle; it need not match triangleCount. A host whose
 *                 vertices are shared pads them to a multiple of three.
 *  indices:       appended as they are, or null for none. They count from the first vertex of this
 *                 material in this node, also in later calls.
 *  order:         axis order of positions and normals; an unknown value is XYZ
 *
 *  Works with no node open as well (see Q7EndNode).
 *  Throws std::length_error "vector too long" when triangleCount is negative. */
Q7_API void MaxAddIndexTriangles(void* session, const Q7Char* materialName, int triangleCount,
                                 const float* positions, const float* normals, const float* uvs,
                                 uint32_t indexCount, const int* indices, CoordOrder order);

/** Places the geometry of one node again as another node, with the instance path "/".
 *
 *  existingNode: a node that was ended. Its own transform plays no part.
 *  newNode:      gets one instance for each that the existing node has at the time of the call; they
 *                join those it has. They share mesh and material: an update of the mesh shows in all.
 *  transform:    16 floats, read at once
 *
 *  When existingNode is unknown, newNode becomes known and gets no instances.
 *  Cost: constant for each instance. */
Q7_API void MaxDuplicateNode(void* session, const Q7Char* existingNode, const Q7Char* newNode,
                             const float* transform);

/** Places the geometry of one node again as MaxDuplicateNode does, with an instance path. */
Q7_API void Q7DuplicateNode(void* session, const Q7Char* existingNode, const Q7Char* newNode,
                            const float* transform, const Q7Char* instancePath);

/** Forgets a node and marks its instances for removal; they leave the model at the next live send.
 *  Until then they are counted and saved.
 *
 *  Nothing happens when the node is unknown. */
Q7_API void MaxDeleteNode(void* session, const Q7Char* node);

/** The same function as MaxDeleteNode. */
Q7_API void Q7DeleteNode(void* session, const Q7Char* node);

/** Counts the instances of the model, those marked for removal included. */
Q7_API uint64_t Q7InstanceCount(void* session);

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

/* ---- Typed materials ------------------------------------------------------------------------- */
/* In all of these, every "/" in a material name becomes "@". Property names are free and differ by
 * case. They become the names of XML elements, with each blank turned into "--" and nothing else
 * changed or escaped: choose names that XML allows. In values "&", "<" and ">" become entities. */

/** Adds a typed material of type 0 without properties.
 *
 *  Nothing happens when a material of that name exists. */
Q7_API void Q7AddMaterial(void* session, const Q7Char* name);

/** Removes all properties of a typed material; its type stays.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7ResetMaterial(void* session, const Q7Char* name);

/** Chooses the base material by its index in the renderer's catalogue.
 *
 *  type: 0 to 9, for Base_9, Base_2, Base_5, Base_11, Base_6, Base_12, Base_13, Base_15, Base_17 and
 *        Base_18. A larger value is stored too, and written as type 0.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialType(void* session, const Q7Char* name, uint32_t type);

/** Sets a property to an integer, replacing what it held, whatever its type.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialIntProperty(void* session, const Q7Char* name, const Q7Char* property,
                                     int32_t value);

/** Sets a property to a float, replacing what it held; written with six significant digits.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialFloatProperty(void* session, const Q7Char* name, const Q7Char* property,
                                       float value);

/** Sets a property to a text, replacing what it held. A texture is a text: the path of its file, which
 *  is written as it stands; the renderer looks for the file by its name alone.
 *
 *  Nothing happens when the name is unknown or belongs to a text material. */
Q7_API void Q7SetMaterialStringProperty(void* session, const Q7Char* name, const Q7Char* property,
                                        const Q7Char* value);

/** Removes a property of a typed material.
 *
 *  Nothing happens when the material or the property is unknown. */
Q7_API void Q7RemoveMaterialProperty(void* session, const Q7Char* name, const Q7Char* property);

/** Writes all materials as XML text in UTF-8, in the order in which they were added, replacing the
 *  file: typed ones as the library words them, text ones as they were given. With material version 1
 *  they stand inside of one root element, else there is none. There is no declaration and no
 *  byte-order mark; line ends are those of the platform's text files: CR LF on Windows, LF elsewhere.
 *
 *  Nothing happens when the file cannot be opened for writing; a write that fails later is not
 *  reported. */
Q7_API void Q7SaveMaterialToFile(void* session, const Q7Char* path);

/* ---- Saving ---------------------------------------------------------------------------------- */

/** Writes the model to a model stream file as it stands, replacing the file: every mesh, used or not,
 *  and every instance, those marked for removal included. The triangles of a node that is still open
 *  are no part of the model yet. The session stays as it is.
 *
 *  Nothing happens when the file cannot be opened for writing; a full disk leaves a short file and
 *  is not reported.
 *  Cost: one pass over the model; no copy of it is made. */
Q7_API void Q7SaveRawToFile(void* session, const Q7Char* path);

/** The same function as Q7SaveRawToFile. */
Q7_API void SaveToFile(void* session, const Q7Char* path);

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
Q7_API void Q7SaveProcessedToFile(void* session, const Q7Char* path);

/* ---- Animation records ----------------------------------------------------------------------- */

#ifdef __cplusplus
} /* extern "C" */

/** One point of an animation curve: its value, and the time and value of its two tangents. */
struct Q7AnimProperty final {
    double V;  /**< value of the point */
    double LT; /**< time of the left tangent */
    double LV; /**< value of the left tangent */
    double RT; /**< time of the right tangent */
    double RV; /**< value of the right tangent */

    Q7AnimProperty(const Q7AnimProperty&) = default;
#if defined(__MINGW32__)
    /* The exports follow MSVC's convention for members, which this compiler does not call. */
    Q7AnimProperty(double v, double lt, double lv, double rt, double rv)
        : V(v), LT(lt), LV(lv), RT(rt), RV(rv) {}
    Q7AnimProperty& operator=(const Q7AnimProperty& other) = default;
    Q7AnimProperty& operator=(Q7AnimProperty&& other) = default;
#else
    Q7_API Q7AnimProperty(double v, double lt, double lv, double rt, double rv);
    Q7_API Q7AnimProperty& operator=(const Q7AnimProperty& other);
    Q7_API Q7AnimProperty& operator=(Q7AnimProperty&& other) noexcept;
#endif
};
#else
typedef struct Q7AnimProperty {
    double V, LT, LV, RT, RV;
} Q7AnimProperty;
#endif

#endif /* Q7PLUGIN_H */
