// The precompiled headers of the tests need a target that they belong to, and a target needs a source.
