// The target that the precompiled headers of the tests belong to needs a source.
