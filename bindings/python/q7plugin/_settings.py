from __future__ import annotations

from typing import SupportsIndex

from ._base import SessionBase
from ._numbers import uint32
from ._text import encode


class SettingMethods(SessionBase):
    """What a session's files and messages say about the model as a whole."""

    __slots__ = ()

    def set_model_file_path(self, path: str) -> None:
        """Names the file that the model belongs to, and makes the session's sends be of that main model.

        path: taken as it stands, not tested; may be empty. The last path given here by any session is
            also remembered for the whole process, as the parent of relevant models.
        """
        self._raw.SetModelFilePath(self._session, encode(path, "path"))

    def set_relevant_model_file_path(self, path: str) -> None:
        """Names the file of a model that is part of the one last given to set_model_file_path.

        path: taken as it stands, not tested; may be empty. The process-wide path stays.
        """
        self._raw.SetRelevantModelFilePath(self._session, encode(path, "path"))

    def set_texture_folder(self, path: str) -> None:
        """Sets the folder of the model's textures, as the stream's header shows it.

        path: taken as it stands, not tested; may be empty.
        """
        self._raw.SetTextureFolder(self._session, encode(path, "path"))

    def set_gen_mat_instances(self, flag: bool) -> None:
        """Switches on or off that each live send carries one generated instance for each material.

        The renderer then also learns of materials that no geometry uses. Starts off; takes effect at
        the next send of a model with instances.
        """
        self._raw.SetGenMatInstances(self._session, 1 if flag else 0)

    def set_material_version(self, version: SupportsIndex) -> None:
        """Chooses what an unknown material name becomes when a node ends. Set it before the first material.

        version: 0 (the start value) adds a text material with the default text, 1 adds a typed material
            without properties, any other value (to 4294967295) adds none, so that the instance is not
            made. Materials that exist stay as they are. With version 1 the material file has a root
            element, and archives hold the textures of typed materials.
        """
        self._raw.Q7SetMaterialVersion(self._session, uint32(version, "version"))
