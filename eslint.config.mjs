import js from '@eslint/js';
import globals from 'globals';

export default [
  { ignores: ['build/'] },
  js.configs.recommended,
  {
    files: ['**/*.mjs'],
    languageOptions: { ecmaVersion: 2022, globals: globals.nodeBuiltin },
  },
  {
    files: ['demo/v3/os.js'],
    languageOptions: { sourceType: 'script', globals: globals.browser },
  },
  {
    files: ['scripts/operate_macos.js'],
    languageOptions: {
      ecmaVersion: 2022,
      sourceType: 'script',
      globals: { $: 'readonly', ObjC: 'readonly', delay: 'readonly' },
    },
  },
  {
    linterOptions: { reportUnusedDisableDirectives: 'error' },
    rules: {
      eqeqeq: 'error',
      'no-shadow': 'error',
      'no-unused-vars': ['error', { caughtErrors: 'all' }],
      'no-var': 'error',
      'prefer-const': 'error',
    },
  },
];
