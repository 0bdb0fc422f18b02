"""Every export of the library, in the order of its export list, with its types.

An export whose name encodes its argument types has one symbol on Windows and another elsewhere.
"""

from __future__ import annotations

import ctypes
from typing import Any, Callable, Mapping, NamedTuple, Optional, Tuple

from ._text import OptionalText, Text


class Q7AnimProperty(ctypes.Structure):
    """One point of an animation curve: its value, and time and value of its two tangents."""

    _fields_ = [
        ("V", ctypes.c_double),
        ("LT", ctypes.c_double),
        ("LV", ctypes.c_double),
        ("RT", ctypes.c_double),
        ("RV", ctypes.c_double),
    ]


class Export(NamedTuple):
    """A function of the library: its name here, its symbols, and its types."""

    name: str
    windows: str
    elsewhere: str
    result: Any
    arguments: Tuple[Any, ...]

    def symbol(self, windows: bool) -> str:
        return self.windows if windows else self.elsewhere


_SESSION = _POINTER = ctypes.c_void_p
_TEXT = Text
_NULLABLE = OptionalText
_F32 = ctypes.c_float
_F64 = ctypes.c_double
_I32 = ctypes.c_int32
_U8 = ctypes.c_uint8
_U32 = ctypes.c_uint32
_U64 = ctypes.c_uint64
_POINT = ctypes.POINTER(Q7AnimProperty)


def _plain(name: str, result: Any, *arguments: Any) -> Export:
    return Export(name, name, name, result, arguments)


EXPORTS: Tuple[Export, ...] = (
    _plain("CreateSession", _SESSION),
    _plain("DestroySession", None, _SESSION),
    _plain("Q7GetPluginVersion", ctypes.c_char_p),
    #
    _plain("SetModelFilePath", None, _SESSION, _TEXT),
    _plain("SetRelevantModelFilePath", None, _SESSION, _TEXT),
    _plain("SetTextureFolder", None, _SESSION, _TEXT),
    _plain("SetGenMatInstances", None, _SESSION, _U8),
    _plain("Q7SetDccPluginInfo", None, _TEXT),
    _plain("Q7SetMaterialVersion", None, _SESSION, _U32),
    #
    _plain("SetQ7RenderPath", _U8, _TEXT),
    _plain("StartLinkQ7Render", _U32, _TEXT),
    _plain("GetQ7RenderStatus", _U32, _POINTER),
    _plain("Q7GetRenderVersion", _U32, _POINTER, _U32),
    #
    _plain("Connect", _I32, _SESSION),
    _plain("Q7RawSyncConnect", _I32, _SESSION),
    _plain("Q7ProcessedSyncConnect", _I32, _SESSION),
    Export(
        "Q7GroupSyncConnect",
        "?Q7GroupSyncConnect@@YA?AW4ConnectRet@@PEAX@Z",
        "_Z18Q7GroupSyncConnectPv",
        _I32,
        (_SESSION,),
    ),
    _plain("DisConnect", None, _SESSION),
    _plain("HasConnected", _U8, _SESSION),
    _plain("GetSendModelType", _I32, _SESSION, _NULLABLE),
    _plain("SendModel", None, _SESSION),
    _plain("Q7SendRaw", None, _SESSION),
    _plain("Q7SendProcessed", None, _SESSION),
    #
    Export(
        "AddMesh",
        "?AddMesh@@YAXPEAXPEB_WPEAMH2H2HPEAEHPEAHH@Z",
        "_Z7AddMeshPvPKDsPfiS2_iS2_iPhiPii",
        None,
        (_SESSION, _TEXT) + 5 * (_POINTER, _I32),
    ),
    _plain("AddMaterial", None, _SESSION, _TEXT, _TEXT),
    _plain("AddScene", None, _SESSION, _TEXT, _TEXT, _POINTER, _U32),
    #
    _plain("Q7BeginNode", None, _SESSION, _TEXT, _POINTER, _TEXT),
    _plain("Q7BeginNodeHint", None, _SESSION, _TEXT, _POINTER, _U32, _TEXT),
    _plain("Q7EndNode", None, _SESSION),
    _plain("MaxBeginNode", None, _SESSION, _TEXT, _POINTER),
    _plain("MaxBeginNodeHint", None, _SESSION, _TEXT, _POINTER, _U32),
    _plain("MaxEndNode", None, _SESSION),
    _plain("MaxAddTriangle", None, _SESSION, _TEXT, _POINTER, _POINTER, _POINTER),
    _plain("MaxAddTriangles", None, _SESSION, _TEXT, _I32, _POINTER, _POINTER, _POINTER, _I32),
    _plain(
        "MaxAddIndexTriangles",
        None,
        *(_SESSION, _TEXT, _I32, _POINTER, _POINTER, _POINTER, _U32, _POINTER, _I32),
    ),
    _plain("MaxDuplicateNode", None, _SESSION, _TEXT, _TEXT, _POINTER),
    _plain("Q7DuplicateNode", None, _SESSION, _TEXT, _TEXT, _POINTER, _TEXT),
    _plain("MaxDeleteNode", None, _SESSION, _TEXT),
    _plain("Q7DeleteNode", None, _SESSION, _TEXT),
    _plain("Q7InstanceCount", _U64, _SESSION),
    Export(
        "Q7DeleteInstance",
        "?Q7DeleteInstance@@YAXPEAX_K@Z",
        "_Z16Q7DeleteInstancePvm",
        None,
        (_SESSION, _U64),
    ),
    #
    _plain("Q7AddMaterial", None, _SESSION, _TEXT),
    _plain("Q7ResetMaterial", None, _SESSION, _TEXT),
    _plain("Q7SetMaterialType", None, _SESSION, _TEXT, _U32),
    _plain("Q7SetMaterialIntProperty", None, _SESSION, _TEXT, _TEXT, _I32),
    _plain("Q7SetMaterialFloatProperty", None, _SESSION, _TEXT, _TEXT, _F32),
    _plain("Q7SetMaterialStringProperty", None, _SESSION, _TEXT, _TEXT, _TEXT),
    _plain("Q7RemoveMaterialProperty", None, _SESSION, _TEXT, _TEXT),
    _plain("Q7SaveMaterialToFile", None, _SESSION, _TEXT),
    #
    _plain("Q7AddScene", None, _SESSION, _TEXT),
    _plain("Q7DeleteScene", None, _SESSION, _TEXT),
    _plain("Q7ClearScenes", None, _SESSION),
    _plain("Q7AddLight", None, _SESSION, _TEXT),
    _plain("Q7DeleteLight", None, _SESSION, _TEXT),
    _plain("Q7ClearLights", None, _SESSION),
    _plain("Q7SetPathElementName", None, _SESSION, _TEXT, _TEXT),
    _plain("Q7DeletePathElementName", None, _SESSION, _TEXT),
    _plain("Q7ClearPathElementNames", None, _SESSION),
    _plain("Q7SetEntityIntProperty", None, _SESSION, _U32, _NULLABLE, _TEXT, _I32),
    _plain("Q7SetEntityFloatProperty", None, _SESSION, _U32, _NULLABLE, _TEXT, _F32),
    _plain("Q7SetEntityFloatArrayProperty", None, _SESSION, _U32, _NULLABLE, _TEXT, _POINTER, _I32),
    _plain("Q7SetEntityStringProperty", None, _SESSION, _U32, _NULLABLE, _TEXT, _TEXT),
    _plain("Q7ResetEntityProperty", None, _SESSION, _U32, _NULLABLE),
    _plain("Q7DeleteEntityProperty", None, _SESSION, _U32, _NULLABLE, _TEXT),
    #
    _plain("SendCameraTransformFov", None, _SESSION, _POINTER, _F32),
    _plain("Q7SendCamera", None, _SESSION),
    _plain("Q7SendMetaData", None, _SESSION),
    _plain("Q7GetMetaData", _U32, _SESSION, _POINTER, _U32),
    _plain("Q7SendScenes", None, _SESSION),
    _plain("Q7SendLights", None, _SESSION),
    _plain("SendScenes", None, _SESSION, _TEXT),
    _plain("SendLightsDataXml", None, _SESSION, _TEXT, _TEXT),
    #
    _plain("Q7AddCameraAnims", None, _SESSION, _TEXT),
    _plain("Q7DeleteCameraAnims", None, _SESSION, _TEXT),
    _plain("Q7ClearCameraAnims", None, _SESSION),
    _plain("Q7SendCameraAnims", None, _SESSION),
    _plain("Q7AddAnimEntityFrame", _I32, _SESSION, _I32, _TEXT, _F64),
    _plain("Q7FindAnimEntityFrame", _I32, _SESSION, _I32, _TEXT, _F64),
    _plain("Q7DeleteAnimEntityFrame", None, _SESSION, _I32, _TEXT, _I32),
    _plain("Q7ClearAnimEntityFrames", None, _SESSION, _I32, _TEXT),
    _plain("Q7SetAnimProperty", None, _SESSION, _I32, _TEXT, _TEXT, _I32, _POINT),
    _plain("Q7SetAnimArrayProperty", None, _SESSION, _I32, _TEXT, _TEXT, _I32, _POINTER, _I32),
    _plain("Q7ResetAnimProperty", None, _SESSION, _I32, _TEXT, _I32),
    _plain("Q7DeleteAnimProperty", None, _SESSION, _I32, _TEXT, _TEXT, _I32),
    _plain("Q7ResetAllAnimProperty", None, _SESSION, _I32, _TEXT),
    _plain("Q7DeleteAllAnimProperty", None, _SESSION, _I32, _TEXT, _TEXT),
    #
    _plain("SaveToFile", None, _SESSION, _TEXT),
    _plain("Q7SaveRawToFile", None, _SESSION, _TEXT),
    _plain("Q7SaveProcessedToFile", None, _SESSION, _TEXT),
    _plain("Q7SaveRawToQ7a", _U8, _SESSION, _TEXT),
    _plain("Q7SaveProcessedToQ7a", _U8, _SESSION, _TEXT),
    _plain("Q7SaveExtToQ7a", _U8, _SESSION, _TEXT, _TEXT),
    #
    _plain("Q7GetCid", _U32, _POINTER, _U32),
    _plain("Q7GetLogDir", _U32, _POINTER, _U32),
    _plain("Q7RenderWindowSize", _U32),
    # The members of Q7AnimProperty: the object is the first argument. What the constructor returns is
    # of no use: the object's address on Windows, elsewhere nothing.
    Export(
        "Q7AnimProperty_construct",
        "??0Q7AnimProperty@@QEAA@NNNNN@Z",
        "_ZN14Q7AnimPropertyC1Eddddd",
        None,
        (_POINT, _F64, _F64, _F64, _F64, _F64),
    ),
    Export(
        "Q7AnimProperty_copy",
        "??4Q7AnimProperty@@QEAAAEAU0@AEBU0@@Z",
        "_ZN14Q7AnimPropertyaSERKS_",
        _POINT,
        (_POINT, _POINT),
    ),
    Export(
        "Q7AnimProperty_move",
        "??4Q7AnimProperty@@QEAAAEAU0@$$QEAU0@@Z",
        "_ZN14Q7AnimPropertyaSEOS_",
        _POINT,
        (_POINT, _POINT),
    ),
)


class Functions:
    """The exports of a loaded library, each as an attribute."""

    def __init__(self, exported: Mapping[str, Any], windows: bool) -> None:
        for export in EXPORTS:
            function = exported[export.symbol(windows)]
            function.argtypes = export.arguments
            function.restype = export.result
            setattr(self, export.name, function)

    def __getattr__(self, name: str) -> Callable[..., Any]:
        raise AttributeError(f"the library exports no function {name!r}")


def export_named(name: str) -> Optional[Export]:
    return next((export for export in EXPORTS if export.name == name), None)
